// SPDX-License-Identifier: Apache-2.0
// Internal entities: texts that a document's DOCTYPE names, and that replace the references to them. The result is
// bounded, so that a few lines cannot become a flood. Private to this folder. Any thread.
#pragma once

#include <cstddef>
#include <string>

#include "platform/xml/well_formed.h"

namespace mercato::xml {

// Expands the references of a well-formed document, and those inside the texts of its entities. Returns why it could
// not, as `Judgement::fault` does, and nothing when it could. The caller has to judge the result again. All expanded
// texts together may have eight million bytes, or ten times the bytes of the document when that is more.
std::string expand_entities(std::string& text, const Judgement& judgement, std::size_t max_depth);

}  // namespace mercato::xml
