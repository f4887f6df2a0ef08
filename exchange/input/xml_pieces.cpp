// SPDX-License-Identifier: Apache-2.0
#include "exchange/input/xml_pieces.h"

#include <libxml/SAX2.h>
#include <libxml/parser.h>

#include <algorithm>
#include <exception>
#include <memory>
#include <new>
#include <utility>

#include "mercato/raised_error.h"

namespace mercato::exchange {
namespace {

constexpr std::string_view kWhiteSpace = " \t\r\n";
// What the entities of a file may stand for, beside as much again as the file has.
constexpr std::size_t kFewBytesOfEntities = std::size_t{1} << 20;
// A parser that is given more at once keeps it.
constexpr std::size_t kMostAtOnce = std::size_t{64} << 10;

std::string_view view(const xmlChar* text) { return reinterpret_cast<const char*>(text); }

void trim(std::string& text) {
  const std::size_t begin = text.find_first_not_of(kWhiteSpace);
  if (begin == std::string::npos) return text.clear();
  text.erase(text.find_last_not_of(kWhiteSpace) + 1);
  text.erase(0, begin);
}

// The parser is libxml2's that is pushed. It calls the static functions, through which no exception may pass.
class Parser {
 public:
  explicit Parser(XmlReader& reader) : reader_(reader) {
    xmlSAXHandler calls = {};
    calls.initialized = XML_SAX2_MAGIC;
    calls.startDocument = [](void* self) { xmlSAX2StartDocument(of(self).context_.get()); };
    calls.internalSubset = [](void* self, const xmlChar* name, const xmlChar* external, const xmlChar* system) {
      xmlSAX2InternalSubset(of(self).context_.get(), name, external, system);
    };
    calls.entityDecl = declare;
    calls.getEntity = entity;
    calls.startElementNs = start;
    calls.endElementNs = [](void* self, const xmlChar*, const xmlChar*, const xmlChar*) {
      of(self).guarded([](Parser& parser) { parser.end(); });
    };
    calls.characters = characters;
    calls.ignorableWhitespace = characters;
    calls.cdataBlock = characters;
    calls.serror = keep_error;
    context_.reset(xmlCreatePushParserCtxt(&calls, this, nullptr, 0, nullptr));
    if (!context_) throw std::bad_alloc();
    xmlCtxtUseOptions(context_.get(), XML_PARSE_NONET);
  }

  void take(std::string_view bytes, bool at_end) {
    bytes_read_ += bytes.size();
    xmlParseChunk(context_.get(), bytes.data(), static_cast<int>(bytes.size()), at_end ? 1 : 0);
    if (raised_) std::rethrow_exception(raised_);
    if (context_->wellFormed != 0 && !no_memory_) return;
    if (no_memory_) throw std::bad_alloc();
    if (bytes_read_ == 0) fail("the file is empty", 1);
    if (at_end && depth_ > 0) fail("the file ends before its elements do; it was cut off", line());
    fail("the XML is not well-formed" + (error_.empty() ? "" : ": " + error_), error_line_);
  }

 private:
  struct Free {
    void operator()(xmlParserCtxt* context) const {
      xmlFreeDoc(context->myDoc);
      xmlFreeParserCtxt(context);
    }
  };

  static Parser& of(void* self) { return *static_cast<Parser*>(self); }

  template <class Work>
  void guarded(const Work& work) noexcept {
    if (raised_) return;
    try {
      work(*this);
    } catch (...) {
      raised_ = std::current_exception();
      xmlStopParser(context_.get());
    }
  }

  std::uint64_t line() const { return static_cast<std::uint64_t>(std::max(0, xmlSAX2GetLineNumber(context_.get()))); }

  [[noreturn]] static void fail(const std::string& reason, std::uint64_t line) {
    raise(error_number::kInvalidArgument, {}, "Line " + std::to_string(line) + ": " + reason);
  }

  // Entities that lie elsewhere are as if the file did not declare them.
  static void declare(void* self, const xmlChar* name, int type, const xmlChar* external, const xmlChar* system,
                      xmlChar* content) {
    if (type == XML_INTERNAL_GENERAL_ENTITY)
      xmlSAX2EntityDecl(of(self).context_.get(), name, type, external, system, content);
  }

  static xmlEntityPtr entity(void* self, const xmlChar* name) {
    const xmlEntityPtr found = xmlSAX2GetEntity(of(self).context_.get(), name);
    of(self).guarded([&](Parser& parser) { parser.count_entity(name, found); });
    return found;
  }

  void count_entity(const xmlChar* name, const xmlEntity* found) {
    if (!found) {
      if (fault_.empty())
        fault_ = "refers to the entity " + std::string(view(name)) + ", which the file does not declare itself";
    } else if (found->etype == XML_INTERNAL_GENERAL_ENTITY) {
      bytes_of_entities_ += static_cast<std::size_t>(found->length);
      if (bytes_of_entities_ > bytes_read_ + kFewBytesOfEntities)
        fail("the entities of the file stand for more text than the file has", line());
    }
  }

  static void start(void* self, const xmlChar* name, const xmlChar*, const xmlChar*, int, const xmlChar**,
                    int attributes, int, const xmlChar** values) {
    of(self).guarded([&](Parser& parser) { parser.start(view(name), attributes, values); });
  }

  void start(std::string_view name, int attributes, const xmlChar** values) {
    if (++depth_ > XmlReader::kDeepest)
      fail("elements lie more than " + std::to_string(XmlReader::kDeepest) + " deep", line());
    if (too_large_) return;
    XmlElement begun;
    begun.name = name;
    begun.place.line = line();
    begun.attributes.reserve(static_cast<std::size_t>(attributes));
    for (int i = 0; i < attributes; ++i, values += 5) {  // name, prefix, namespace, begin, end
      const auto* const begin = reinterpret_cast<const char*>(values[3]);
      const auto* const end = reinterpret_cast<const char*>(values[4]);
      begun.attributes.push_back({view(values[0]), std::string(begin, end)});
      size_ += begun.attributes.back().value.size() + sizeof(XmlAttribute);
    }
    if (open_.empty()) {
      if (frames_.empty() || reader_.is_frame(name)) {
        frames_.push_back(name);
        size_ = 0;
        return reader_.frame(begun);
      }
      piece_ = std::move(begun);
      open_.push_back(&piece_);
    } else {
      std::vector<XmlElement>& children = open_.back()->children;
      children.push_back(std::move(begun));
      open_.push_back(&children.back());  // stays where it is: its parent gets no other child before it is closed
    }
    grow(sizeof(XmlElement));
  }

  static void characters(void* self, const xmlChar* text, int length) {
    of(self).guarded([&](Parser& parser) {
      if (parser.open_.empty() || parser.too_large_) return;
      parser.open_.back()->text.append(reinterpret_cast<const char*>(text), static_cast<std::size_t>(length));
      parser.grow(static_cast<std::size_t>(length));
    });
  }

  void grow(std::size_t bytes) {
    size_ += bytes;
    too_large_ = size_ > XmlReader::kLargestPiece;
  }

  void end() {
    --depth_;
    if (open_.empty()) return frames_.pop_back();
    if (depth_ < frames_.size() + open_.size()) {
      trim(open_.back()->text);
      open_.pop_back();
    }
    if (depth_ > frames_.size()) return;
    open_.clear();
    if (too_large_) fault_ = "holds more than " + std::to_string(XmlReader::kLargestPiece >> 20) + " MB";
    const std::string fault = std::exchange(fault_, {});
    too_large_ = false;
    size_ = 0;
    if (fault.empty()) return reader_.piece(piece_, frames_.back());
    reader_.flawed_piece(piece_, fault);
  }

  static void keep_error(void* self, xmlErrorPtr error) {
    Parser& parser = of(self);
    if (error->code == XML_ERR_NO_MEMORY) parser.no_memory_ = true;
    parser.guarded([error](Parser& it) {
      if (!it.error_.empty() || error->level != XML_ERR_FATAL || !error->message) return;
      it.error_ = error->message;
      it.error_.erase(std::min(it.error_.find('\n'), it.error_.size()));
      it.error_.erase(it.error_.find_last_not_of(" .!") + 1);
      it.error_line_ = error->line > 0 ? static_cast<std::uint64_t>(error->line) : it.line();
    });
  }

  XmlReader& reader_;
  std::unique_ptr<xmlParserCtxt, Free> context_;
  std::exception_ptr raised_;
  std::string error_;
  std::uint64_t error_line_ = 0;
  bool no_memory_ = false;
  std::size_t bytes_read_ = 0;
  std::size_t bytes_of_entities_ = 0;

  std::size_t depth_ = 0;  // of all open elements
  std::vector<std::string_view> frames_;
  XmlElement piece_;
  std::vector<XmlElement*> open_;  // of the piece at hand, those that were kept
  std::size_t size_ = 0;           // of the piece at hand
  bool too_large_ = false;
  std::string fault_;  // of the piece at hand
};

}  // namespace

std::string_view XmlElement::attribute(std::string_view wanted) const {
  const auto found = std::ranges::find(attributes, wanted, &XmlAttribute::name);
  return found == attributes.end() ? std::string_view() : found->value;
}

const XmlElement* XmlElement::child(std::string_view wanted) const {
  const auto found = std::ranges::find(children, wanted, &XmlElement::name);
  return found == children.end() ? nullptr : &*found;
}

std::string_view XmlElement::text_of(std::string_view wanted) const {
  const XmlElement* const found = child(wanted);
  return found ? std::string_view(found->text) : std::string_view();
}

void read_xml(Bytes& bytes, XmlReader& reader) {
  Parser parser(reader);
  for (std::string_view piece = bytes.next(); !piece.empty(); piece = bytes.next())
    for (; !piece.empty(); piece.remove_prefix(std::min(piece.size(), kMostAtOnce)))
      parser.take(piece.substr(0, kMostAtOnce), false);
  parser.take({}, true);
}

std::string root_of_xml(std::string_view begin) {
  // Of UTF-16 this leaves what is ASCII in it, and so are the names that are looked for.
  std::string text(begin);
  std::erase(text, '\0');
  std::string_view rest = text;
  for (const std::string_view mark : {"\xEF\xBB\xBF", "\xFF\xFE", "\xFE\xFF"})
    if (rest.starts_with(mark)) rest.remove_prefix(mark.size());

  constexpr std::string_view kDoctype = "<!DOCTYPE";
  while (true) {
    rest.remove_prefix(std::min(rest.size(), rest.find_first_not_of(kWhiteSpace)));
    const std::string_view end = rest.starts_with("<?") ? "?>" : rest.starts_with("<!--") ? "-->" : "";
    if (end.empty()) break;
    const std::size_t at = rest.find(end);
    if (at == std::string_view::npos) return {};
    rest.remove_prefix(at + end.size());
  }
  if (rest.starts_with(kDoctype)) {
    rest.remove_prefix(kDoctype.size());
    rest.remove_prefix(std::min(rest.size(), rest.find_first_not_of(kWhiteSpace)));
  } else if (rest.starts_with("<")) {
    rest.remove_prefix(1);
  } else {
    return {};
  }
  std::string_view name = rest.substr(0, rest.find_first_of(" \t\r\n/>[<"));
  name.remove_prefix(name.rfind(':') + 1);
  return std::string(name);
}

}  // namespace mercato::exchange
