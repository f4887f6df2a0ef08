#include "platform/xml/schema.h"

#include <libxml/parser.h>
#include <libxml/xmlreader.h>
#include <libxml/xmlschemas.h>

#include <limits>
#include <utility>

#include "frame/types/raised_error.h"
#include "platform/files/files.h"
#include "platform/files/paths.h"

namespace mercato::xml {
namespace {

constexpr std::size_t kMostSchemaBytes = std::size_t{16} << 20;
constexpr const char* kSchemaNamespace = "http://www.w3.org/2001/XMLSchema";
constexpr int kAlone = XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;

template <auto free_it>
struct Free {
  template <class T>
  void operator()(T* pointer) const {
    free_it(pointer);
  }
};
using ParsedDocument = std::unique_ptr<xmlDoc, Free<xmlFreeDoc>>;
using ParsedSchema = std::unique_ptr<xmlSchema, Free<xmlSchemaFree>>;
using SchemaParser = std::unique_ptr<xmlSchemaParserCtxt, Free<xmlSchemaFreeParserCtxt>>;
using Reader = std::unique_ptr<xmlTextReader, Free<xmlFreeTextReader>>;

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
  if (text.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) return "The document is too large.";
  const Reader reader(
      xmlReaderForMemory(text.data(), static_cast<int>(text.size()), "document", "UTF-8", kAlone | XML_PARSE_HUGE));
  FirstFault fault;
  if (!reader || xmlTextReaderSetSchema(reader.get(), compiled_->schema.get()) != 0) raise(error_number::kOutOfMemory);
  xmlTextReaderSetStructuredErrorHandler(reader.get(), FirstFault::keep, &fault);
  int state = 1;
  while (state == 1 && fault.text.empty()) state = xmlTextReaderRead(reader.get());
  if (fault.text.empty() && state == 0 && xmlTextReaderIsValid(reader.get()) == 1) return {};
  return (fault.text.empty() ? std::string("The document does not fit the schema") : fault.text) + ".";
}

}  // namespace mercato::xml
