#include "platform/xml/schema.h"

#include <libxml/parser.h>
#include <libxml/xmlschemas.h>

#include <algorithm>
#include <utility>

#include "frame/types/raised_error.h"
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
  static void keep(void* self, xmlErrorPtr error) {
    auto& text = static_cast<FirstFault*>(self)->text;
    if (text.empty() && error->message && error->level >= XML_ERR_ERROR) text = without_line_end(error->message);
  }
};

std::string attribute(const xmlNode* element, const char* name) {
  xmlChar* const value = xmlGetNoNsProp(element, reinterpret_cast<const xmlChar*>(name));
  std::string text = value ? reinterpret_cast<const char*>(value) : "";
  xmlFree(value);
  return text;
}

bool is_schema_element(const xmlNode* node, std::string_view name) {
  return node->type == XML_ELEMENT_NODE && node->ns &&
         std::string_view(reinterpret_cast<const char*>(node->ns->href)) == kSchemaNamespace &&
         std::string_view(reinterpret_cast<const char*>(node->name)) == name;
}

// Why a parsed schema is not for us; the library itself would fetch what a schema names.
std::string objection_to(const xmlDoc* document) {
  if (document->intSubset) return "it has a DOCTYPE";
  const xmlNode* const root = xmlDocGetRootElement(document);
  if (!root || !is_schema_element(root, "schema")) return "it is no XML schema";
  if (!attribute(root, "targetNamespace").empty()) return "it is for a target namespace";
  for (const xmlNode* child = root->children; child; child = child->next)
    for (const char* other : {"include", "import", "redefine"})
      if (is_schema_element(child, other)) return std::string("it reads another schema (") + other + ")";
  return {};
}

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
  std::string text;
  try {
    text = files::read_file(files::host_path(file), kMostSchemaBytes);
  } catch (const Raised& failure) {
    error_ = failure.error().Description + ".";
    return false;
  }
  xmlInitParser();
  auto compiled = std::make_unique<Compiled>();
  compiled->document.reset(xmlReadMemory(text.data(), static_cast<int>(text.size()), "schema", nullptr, kAlone));
  if (!compiled->document) return fail("it is not well-formed");
  if (const std::string objection = objection_to(compiled->document.get()); !objection.empty()) return fail(objection);
  const SchemaParser parser(xmlSchemaNewDocParserCtxt(compiled->document.get()));
  if (!parser) return fail("there is no memory for it");
  FirstFault fault;
  xmlSchemaSetParserStructuredErrors(parser.get(), FirstFault::keep, &fault);
  compiled->schema.reset(xmlSchemaParse(parser.get()));
  if (!compiled->schema) return fail(fault.text.empty() ? "it is no XML schema" : fault.text);
  compiled_ = std::move(compiled);
  return true;
}

std::string Schema::fault_of(const Document& document) const {
  if (!compiled_) raise(error_number::kObjectNotSet);
  if (document.document_element().is_null()) return "The document is empty.";
  // As text once more: this library judges while it reads. The text is ours, so nothing in it leads anywhere.
  const std::string text = document.document_element().save_text();

  const Validator validator(xmlSchemaNewValidCtxt(compiled_->schema.get()));
  xmlSAXHandler no_callbacks = {};
  no_callbacks.initialized = XML_SAX2_MAGIC;
  const Parser parser(xmlCreatePushParserCtxt(&no_callbacks, nullptr, nullptr, 0, nullptr));
  if (!validator || !parser) raise(error_number::kOutOfMemory);
  xmlCtxtUseOptions(parser.get(), kAlone | XML_PARSE_HUGE);
  FirstFault fault;
  xmlSchemaSetValidStructuredErrors(validator.get(), FirstFault::keep, &fault);
  // Between parser and callbacks; it has to be taken out before either goes.
  const Plug plug(xmlSchemaSAXPlug(validator.get(), &parser->sax, &parser->userData));
  if (!plug) raise(error_number::kOutOfMemory);

  constexpr std::size_t kPiece = std::size_t{1} << 20;
  const auto is_well_formed = [&] { return parser->wellFormed != 0 && parser->nsWellFormed != 0; };
  for (std::size_t at = 0; at < text.size() && fault.text.empty() && is_well_formed(); at += kPiece) {
    const std::size_t size = std::min(kPiece, text.size() - at);
    xmlParseChunk(parser.get(), text.data() + at, static_cast<int>(size), at + size == text.size() ? 1 : 0);
  }
  if (fault.text.empty() && !is_well_formed()) {  // such as a prefix that nothing declares
    const xmlError* const error = xmlCtxtGetLastError(parser.get());
    fault.text = without_line_end(error && error->message ? error->message : "The document is not well-formed");
  }
  if (!fault.text.empty()) return fault.text + ".";
  return xmlSchemaIsValid(validator.get()) == 1 ? std::string() : "The document does not fit the schema.";
}

}  // namespace mercato::xml
