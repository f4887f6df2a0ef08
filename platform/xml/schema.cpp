// SPDX-License-Identifier: Apache-2.0
#include "platform/xml/schema.h"

#include <libxml/parser.h>
#include <libxml/xmlschemas.h>

#include <algorithm>
#include <filesystem>
#include <new>
#include <utility>
#include <vector>

#include "mercato/raised_error.h"
#include "platform/files/files.h"
#include "platform/files/paths.h"

namespace mercato::xml {

template <auto free_it>
struct Free {
  template <class T>
  void operator()(T* pointer) const {
    free_it(pointer);
  }
};
using ParsedDocument = std::unique_ptr<xmlDoc, Free<xmlFreeDoc>>;
using ParsedSchema = std::unique_ptr<xmlSchema, Free<xmlSchemaFree>>;

namespace {

constexpr std::size_t kMostSchemaBytes = std::size_t{16} << 20;
constexpr const char* kSchemaNamespace = "http://www.w3.org/2001/XMLSchema";
constexpr int kAlone = XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;

using SchemaParser = std::unique_ptr<xmlSchemaParserCtxt, Free<xmlSchemaFreeParserCtxt>>;
using Validator = std::unique_ptr<xmlSchemaValidCtxt, Free<xmlSchemaFreeValidCtxt>>;
using Parser = std::unique_ptr<xmlParserCtxt, Free<xmlFreeParserCtxt>>;
using Plug = std::unique_ptr<xmlSchemaSAXPlugStruct, Free<xmlSchemaSAXUnplug>>;

std::string without_line_end(std::string text) {
  while (!text.empty() && (text.back() == '\n' || text.back() == '.')) text.pop_back();
  return text;
}

// Keeps the first fault that the library reports.
struct FirstFault {
  std::string text;
  bool no_memory = false;
  // Called by the library, through which no exception may pass.
  static void keep(void* self, xmlErrorPtr error) noexcept {
    auto& fault = *static_cast<FirstFault*>(self);
    if (error->code == XML_ERR_NO_MEMORY) fault.no_memory = true;
    try {
      if (fault.text.empty() && error->message && error->level >= XML_ERR_ERROR)
        fault.text = without_line_end(error->message);
    } catch (const std::bad_alloc&) {
      fault.no_memory = true;
    }
  }
};

const xmlChar* xml_text(const char* text) { return reinterpret_cast<const xmlChar*>(text); }

// libxml2 answers null when it finds no memory.
template <class T>
T* required(T* made) {
  if (!made) throw std::bad_alloc();
  return made;
}

// Empty when there is none.
std::string attribute(const xmlNode* element, const char* name) {
  struct FreeText {
    void operator()(xmlChar* text) const { xmlFree(text); }
  };
  if (!xmlHasNsProp(element, xml_text(name), nullptr)) return {};
  const std::unique_ptr<xmlChar, FreeText> value(required(xmlGetNoNsProp(element, xml_text(name))));
  return reinterpret_cast<const char*>(value.get());
}

bool is_schema_element(const xmlNode* node, std::string_view name) {
  return node->type == XML_ELEMENT_NODE && node->ns &&
         std::string_view(reinterpret_cast<const char*>(node->ns->href)) == kSchemaNamespace &&
         std::string_view(reinterpret_cast<const char*>(node->name)) == name;
}

// Puts a schema file, and those that it includes, into one document. libxml2 would fetch whatever a schema names, from
// wherever it is.
class JoinedSchema {
 public:
  explicit JoinedSchema(std::string_view file) : file_(files::host_path(file)) {}

  // Raises 5 with the reason when one of the files is not for us, and what reading a file raises.
  ParsedDocument join() {
    ParsedDocument joined(required(xmlNewDoc(xml_text("1.0"))));
    xmlNode* const root = required(xmlNewDocNode(joined.get(), nullptr, xml_text("schema"), nullptr));
    xmlDocSetRootElement(joined.get(), root);  // owns it from here on
    // This prefix clashes with none of the files: their children bring their own prefixes along.
    xmlSetNs(root, required(xmlNewNs(root, xml_text(kSchemaNamespace), xml_text("joined-schema"))));
    names_ = {file_.filename().string()};
    for (std::size_t next = 0; next < names_.size(); ++next) add(names_[next], root);
    return joined;
  }

 private:
  void add(const std::string name, xmlNode* root) {  // by value: names_ grows meanwhile
    const std::string text = files::read_file((file_.parent_path() / name).string(), kMostSchemaBytes - bytes_);
    bytes_ += text.size();
    const ParsedDocument document(xmlReadMemory(text.data(), static_cast<int>(text.size()), "schema", nullptr, kAlone));
    const bool is_first = name == names_.front();
    const auto refuse = [&](const std::string& reason) {
      raise(error_number::kInvalidArgument, {}, (is_first ? "it " : name + ", which it includes, ") + reason);
    };
    if (!document) {
      if (const xmlError* const error = xmlGetLastError(); error && error->code == XML_ERR_NO_MEMORY)
        throw std::bad_alloc();
      refuse("is not well-formed");
    }
    if (document->intSubset) refuse("has a DOCTYPE");
    const xmlNode* const from = xmlDocGetRootElement(document.get());
    if (!from || !is_schema_element(from, "schema")) refuse("is no XML schema");
    if (!attribute(from, "targetNamespace").empty()) refuse("is for a target namespace");
    // A default holds for the components of its own file. In one document all files have to have the same.
    for (const char* defaults : {"blockDefault", "finalDefault"}) {
      const std::string value = attribute(from, defaults);
      if (is_first && !value.empty())
        required(xmlNewProp(root, xml_text(defaults), xml_text(value.c_str())));
      else if (value != attribute(root, defaults))
        refuse(std::string("has another ") + defaults);
    }
    for (xmlNode* child = from->children; child; child = child->next) {
      if (child->type != XML_ELEMENT_NODE) continue;
      for (const char* other : {"import", "redefine"})
        if (is_schema_element(child, other)) refuse(std::string("reads another schema (") + other + ")");
      if (is_schema_element(child, "include"))
        include(attribute(child, "schemaLocation"), refuse);
      else
        adopt(child, from, root);
    }
  }

  template <class Refuse>
  void include(const std::string& location, Refuse refuse) {
    if (location.empty() || location == "." || location == ".." || location.find_first_of("/\\:%") != std::string::npos)
      refuse("includes a schema that is not beside it (" + location + ")");
    if (std::find(names_.begin(), names_.end(), location) == names_.end()) names_.push_back(location);
  }

  // Adds a copy, with the namespaces that names inside it use.
  static void adopt(xmlNode* child, const xmlNode* from, xmlNode* root) {
    xmlNode* const copy = required(xmlDocCopyNode(child, root->doc, 1));
    for (const xmlNs* declared = from->nsDef; declared; declared = declared->next)
      xmlNewNs(copy, declared->href, declared->prefix);  // none that the copy has already
    xmlAddChild(root, copy);
  }

  std::filesystem::path file_;
  std::vector<std::string> names_;  // of the file and all that are included, each once
  std::size_t bytes_ = 0;
};

}  // namespace

struct Schema::Compiled {
  ParsedDocument document;  // the schema points into it
  ParsedSchema schema;
};

Schema::Schema() = default;
Schema::~Schema() = default;

bool Schema::load(std::string_view file) {
  compiled_.reset();
  error_.clear();
  const auto fail = [&](const std::string& reason) {
    error_ = "The schema \"" + std::string(file) + "\" cannot be loaded: " + reason + ".";
    return false;
  };
  xmlInitParser();
  auto compiled = std::make_unique<Compiled>();
  try {
    compiled->document = JoinedSchema(file).join();
  } catch (const Raised& failure) {
    const std::string& reason = failure.error().Description;
    if (failure.error().Number == error_number::kOutOfMemory) throw;
    if (failure.error().Number == error_number::kInvalidArgument) return fail(reason);
    error_ = reason + ".";
    return false;
  }
  const SchemaParser parser(xmlSchemaNewDocParserCtxt(compiled->document.get()));
  if (!parser) raise(error_number::kOutOfMemory);
  FirstFault fault;
  xmlSchemaSetParserStructuredErrors(parser.get(), FirstFault::keep, &fault);
  compiled->schema.reset(xmlSchemaParse(parser.get()));
  if (fault.no_memory) raise(error_number::kOutOfMemory);
  if (!compiled->schema) return fail(fault.text.empty() ? "it is no XML schema" : fault.text);
  compiled_ = std::move(compiled);
  return true;
}

std::string Schema::fault_of(const Document& document) const {
  if (!compiled_) raise(error_number::kObjectNotSet);
  if (document.document_element().is_null()) return "The document is empty.";
  // libxml2 judges while it reads, so the document becomes text again. Nothing in this text leads out of it.
  const std::string text = document.document_element().save_text();

  const Validator validator(xmlSchemaNewValidCtxt(compiled_->schema.get()));
  xmlSAXHandler no_callbacks = {};
  no_callbacks.initialized = XML_SAX2_MAGIC;
  const Parser parser(xmlCreatePushParserCtxt(&no_callbacks, nullptr, nullptr, 0, nullptr));
  if (!validator || !parser) raise(error_number::kOutOfMemory);
  xmlCtxtUseOptions(parser.get(), kAlone | XML_PARSE_HUGE);
  FirstFault fault;
  xmlSchemaSetValidStructuredErrors(validator.get(), FirstFault::keep, &fault);
  // It sits between the parser and the callbacks, and has to be removed before either of them.
  const Plug plug(xmlSchemaSAXPlug(validator.get(), &parser->sax, &parser->userData));
  if (!plug) raise(error_number::kOutOfMemory);

  constexpr std::size_t kPiece = std::size_t{1} << 20;
  const auto is_well_formed = [&] { return parser->wellFormed != 0 && parser->nsWellFormed != 0; };
  for (std::size_t at = 0; at < text.size() && fault.text.empty() && !fault.no_memory && is_well_formed();
       at += kPiece) {
    const std::size_t size = std::min(kPiece, text.size() - at);
    // Without memory the parser stops, and takes what it has read for well-formed.
    if (xmlParseChunk(parser.get(), text.data() + at, static_cast<int>(size), at + size == text.size() ? 1 : 0) ==
        XML_ERR_NO_MEMORY)
      fault.no_memory = true;
  }
  if (fault.no_memory) raise(error_number::kOutOfMemory);
  if (fault.text.empty() && !is_well_formed()) {  // such as a prefix that nothing declares
    const xmlError* const error = xmlCtxtGetLastError(parser.get());
    fault.text = without_line_end(error && error->message ? error->message : "The document is not well-formed");
  }
  if (!fault.text.empty()) return fault.text + ".";
  return xmlSchemaIsValid(validator.get()) == 1 ? std::string() : "The document does not fit the schema.";
}

}  // namespace mercato::xml
