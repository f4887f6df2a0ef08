// SPDX-License-Identifier: Apache-2.0
// XML Schema 1.0: a schema file, and documents judged by it. One thread at a time; different schemas are independent.
// A schema may include others that lie in its own folder, by their plain names. Nothing else is ever read: a schema
// with a DOCTYPE, one that imports or redefines others or includes one from elsewhere, is refused, and what a document
// says about schemas of its own is not followed.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "platform/xml/document.h"

namespace mercato::xml {

class Schema {
 public:
  Schema();
  ~Schema();
  Schema(const Schema&) = delete;
  Schema& operator=(const Schema&) = delete;

  // Answers whether the file, a path in the interface's or the host's form, was loaded; when not, nothing is, and
  // `error` has the reason as one sentence. No input makes it raise. A schema for a target namespace is not loadable:
  // documents are read without namespaces.
  bool load(std::string_view file);
  bool is_loaded() const { return compiled_ != nullptr; }
  // Empty after a successful load.
  const std::string& error() const { return error_; }

  // Why the document is not valid, as one sentence about the first fault; empty when it is. An empty document is never
  // valid. Raises 91 when no schema is loaded.
  std::string fault_of(const Document& document) const;

 private:
  struct Compiled;
  std::string error_;
  std::unique_ptr<const Compiled> compiled_;
};

}  // namespace mercato::xml
