// SPDX-License-Identifier: Apache-2.0
// A part's XML as it streams by: elements and text, in pieces as they are unpacked. No tree is made. A part with a
// DOCTYPE is refused, so there are no entities but the predefined ones. Private to this folder. One thread at a time.
#pragma once

#include <cstddef>
#include <exception>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/spreadsheet/package.h"

struct _xmlParserCtxt;
struct _xmlError;

namespace mercato::spreadsheet {

// An element that opens. Its texts are good until the call with it returns.
class Element {
 public:
  // The local name of one of the markup's own elements; empty for those of other namespaces.
  std::string_view name;

  // The value of an attribute without a namespace; empty when there is none.
  std::string_view attribute(std::string_view wanted) const { return find(wanted, false); }
  // Of one that has a namespace.
  std::string_view qualified_attribute(std::string_view wanted) const { return find(wanted, true); }

 private:
  friend class PartParser;
  std::string_view find(std::string_view wanted, bool qualified) const;
  std::span<const unsigned char* const> attributes_;  // in fives: name, prefix, namespace, value, end of the value
};

class PartHandler {
 public:
  virtual ~PartHandler() = default;
  // Each may throw: what it throws comes out of PartParser::advance.
  virtual void open(const Element& element) = 0;
  virtual void close(std::string_view name) = 0;
  // A text may come in several pieces.
  virtual void text(std::string_view piece) { static_cast<void>(piece); }
};

class PartParser {
 public:
  // The handler must outlive the parser.
  PartParser(PartStream stream, std::string part_name, PartHandler& handler);
  ~PartParser();
  PartParser(const PartParser&) = delete;
  PartParser& operator=(const PartParser&) = delete;

  // Reads one more piece; false when the part has come to its end. Throws Unreadable, and what the handler throws.
  bool advance();
  void read_all() {
    while (advance()) {
    }
  }

 private:
  static void on_open(void* self, const unsigned char* name, const unsigned char* prefix, const unsigned char* uri,
                      int namespaces, const unsigned char** namespace_pairs, int attributes, int defaulted,
                      const unsigned char** values);
  static void on_close(void* self, const unsigned char* name, const unsigned char* prefix, const unsigned char* uri);
  static void on_text(void* self, const unsigned char* text, int length);
  static void on_doctype(void* self, const unsigned char* name, const unsigned char* id, const unsigned char* system);
  static void on_error(void* self, _xmlError* error);

  bool is_own(const unsigned char* uri);
  // No exception may pass through the C library, so they are kept here until it has returned.
  template <class Work>
  void guarded(Work work);

  PartStream stream_;
  std::string part_name_;
  PartHandler& handler_;
  struct Free {
    void operator()(_xmlParserCtxt* context) const noexcept;
  };
  std::unique_ptr<_xmlParserCtxt, Free> context_;
  std::vector<char> buffer_;
  std::exception_ptr thrown_;
  std::string fault_;
  const unsigned char* last_uri_ = nullptr;  // names of namespaces are kept once, so the pointer tells
  bool last_is_own_ = false;
  bool at_end_ = false;
};

}  // namespace mercato::spreadsheet
