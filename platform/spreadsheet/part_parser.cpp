// SPDX-License-Identifier: Apache-2.0
#include "platform/spreadsheet/part_parser.h"

#include <libxml/parser.h>
#include <libxml/xmlerror.h>

#include <algorithm>
#include <array>
#include <new>
#include <utility>

namespace mercato::spreadsheet {
namespace {

constexpr std::size_t kPiece = std::size_t{64} << 10;

// Namespaces of the two editions of the markup, and of relationships.
constexpr std::array<std::string_view, 3> kNamespaces = {
    "http://schemas.openxmlformats.org/spreadsheetml/2006/main",
    "http://purl.oclc.org/ooxml/spreadsheetml/main",
    "http://schemas.openxmlformats.org/package/2006/relationships",
};

std::string_view view(const unsigned char* text) { return reinterpret_cast<const char*>(text); }

}  // namespace

std::string_view Element::find(std::string_view wanted, bool qualified) const {
  for (std::size_t at = 0; at < attributes_.size(); at += 5) {
    if ((attributes_[at + 2] != nullptr) != qualified || view(attributes_[at]) != wanted) continue;
    const auto* const begin = reinterpret_cast<const char*>(attributes_[at + 3]);
    return {begin, static_cast<std::size_t>(attributes_[at + 4] - attributes_[at + 3])};
  }
  return {};
}

void PartParser::Free::operator()(_xmlParserCtxt* context) const noexcept { xmlFreeParserCtxt(context); }

PartParser::PartParser(PartStream stream, std::string part_name, PartHandler& handler)
    : stream_(std::move(stream)), part_name_(std::move(part_name)), handler_(handler), buffer_(kPiece) {
  xmlInitParser();
  xmlSAXHandler callbacks = {};
  callbacks.initialized = XML_SAX2_MAGIC;
  callbacks.startElementNs = on_open;
  callbacks.endElementNs = on_close;
  callbacks.characters = on_text;
  callbacks.ignorableWhitespace = on_text;
  callbacks.cdataBlock = on_text;
  callbacks.internalSubset = on_doctype;
  callbacks.serror = on_error;
  context_.reset(xmlCreatePushParserCtxt(&callbacks, this, nullptr, 0, nullptr));
  if (!context_) throw std::bad_alloc();
  // Without XML_PARSE_NOENT a & in an attribute would arrive as a reference. There are no entities to expand.
  xmlCtxtUseOptions(context_.get(), XML_PARSE_NONET | XML_PARSE_NOENT);
}

PartParser::~PartParser() = default;

bool PartParser::advance() {
  if (at_end_) return false;
  const std::size_t got = stream_.read(buffer_);
  at_end_ = got == 0;
  const int result = xmlParseChunk(context_.get(), buffer_.data(), static_cast<int>(got), at_end_ ? 1 : 0);
  if (thrown_) std::rethrow_exception(std::exchange(thrown_, nullptr));
  if (result == XML_ERR_NO_MEMORY) throw std::bad_alloc();
  if (context_->wellFormed == 0)
    throw Unreadable("its part " + part_name_ +
                     " is no well-formed XML: " + (fault_.empty() ? std::string("it ends too early") : fault_));
  return !at_end_;
}

bool PartParser::is_own(const unsigned char* uri) {
  if (uri != last_uri_) {
    last_uri_ = uri;
    last_is_own_ = uri && std::find(kNamespaces.begin(), kNamespaces.end(), view(uri)) != kNamespaces.end();
  }
  return last_is_own_;
}

template <class Work>
void PartParser::guarded(Work work) {
  if (thrown_) return;
  try {
    work();
  } catch (...) {
    thrown_ = std::current_exception();
    xmlStopParser(context_.get());
  }
}

void PartParser::on_open(void* self, const unsigned char* name, const unsigned char*, const unsigned char* uri, int,
                         const unsigned char**, int attributes, int, const unsigned char** values) {
  auto& parser = *static_cast<PartParser*>(self);
  parser.guarded([&] {
    Element element;
    if (parser.is_own(uri)) element.name = view(name);
    element.attributes_ = {values, static_cast<std::size_t>(attributes) * 5};
    parser.handler_.open(element);
  });
}

void PartParser::on_close(void* self, const unsigned char* name, const unsigned char*, const unsigned char* uri) {
  auto& parser = *static_cast<PartParser*>(self);
  parser.guarded([&] { parser.handler_.close(parser.is_own(uri) ? view(name) : std::string_view()); });
}

void PartParser::on_text(void* self, const unsigned char* text, int length) {
  auto& parser = *static_cast<PartParser*>(self);
  parser.guarded([&] {
    parser.handler_.text({reinterpret_cast<const char*>(text), static_cast<std::size_t>(length)});
  });
}

void PartParser::on_doctype(void* self, const unsigned char*, const unsigned char*, const unsigned char*) {
  auto& parser = *static_cast<PartParser*>(self);
  parser.guarded([&] { throw Unreadable("its part " + parser.part_name_ + " has a DOCTYPE"); });
}

void PartParser::on_error(void* self, _xmlError* error) {
  auto& parser = *static_cast<PartParser*>(self);
  parser.guarded([&] {
    if (!parser.fault_.empty() || error->level < XML_ERR_FATAL || !error->message) return;
    parser.fault_ = error->message;
    while (!parser.fault_.empty() && parser.fault_.back() == '\n') parser.fault_.pop_back();
  });
}

}  // namespace mercato::spreadsheet
