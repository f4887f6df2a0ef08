// SPDX-License-Identifier: Apache-2.0
// Loads a document that a test has written as a text, and reads texts out of it.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "platform/xml/document.h"

namespace mercato::xml {

inline Document loaded(std::string_view text) {
  Document document;
  EXPECT_TRUE(document.load_text(text)) << document.error();
  EXPECT_EQ(document.error(), "");
  return document;
}

inline std::vector<std::string> values(const NodeList& list) {
  std::vector<std::string> values;
  for (const Node node : list) values.push_back(node.typed_value());
  return values;
}

}  // namespace mercato::xml
