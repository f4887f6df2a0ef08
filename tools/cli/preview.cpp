#include <iostream>

#include "frame/lib_error_handling.h"
#include "frame/types/collection.h"
#include "frame/types/dictionary.h"
#include "platform/transactions/object_context.h"
#include "platform/xml/document.h"
#include "tools/cli/commands.h"
#include "tools/cli/library.h"
#include "tools/cli/terminal.h"
#include "tools/gateway/json_values.h"
#include "upload/upload_documents.h"

namespace mercato::cli {
namespace {

struct CheckedRecord {
  std::string part_number;
  std::string name;
  bool valid = false;
  DictionaryPtr errors;  // of a record that is not valid: field to value
};

// The document is loaded once, and what is wrong with a record is asked with a document of that record alone: the
// library loads whatever it is given at each call.
std::vector<CheckedRecord> check(const PreviewOptions& options) {
  xml::Document document;
  if (!document.load(options.document)) raise(eUnableToLoadXML, {}, document.error());
  const ComponentPtr reader = create_root("Mercato.ProductXML");
  const char* method = options.update_only ? "GetCheckedProductUpdateList" : "GetCheckedProductInsertList";
  const auto list = call(reader, method, {document.save_text(), false}).to<Collection>();

  // The list has the records in the order of the document. It lacks those without content, and of an update those
  // without a product: that goes by their part number alone.
  const xml::NodeList elements = document.elements_by_tag_name(upload::kProductDocument.record);
  std::size_t next = 0;
  const auto element_of = [&](const std::string& part_number) {
    for (;;) {
      const xml::Node element = elements.item(next++);
      if (upload::has_content(element) && upload::part_number_of(element) == part_number) return element;
    }
  };
  std::vector<CheckedRecord> records;
  for (std::int32_t position = 1; position <= list->Count(); ++position) {
    const auto entry = list->Item(position).to<Collection>();
    CheckedRecord record{entry->Item(1).to_text(), entry->Item(2).to_text(), entry->Item(3).to_boolean(), nullptr};
    const xml::Node element = element_of(record.part_number);
    if (!record.valid)
      record.errors =
          call(reader, "getErrorsInProductValues", {element.save_text(), false, record.part_number}).to<Dictionary>();
    records.push_back(std::move(record));
  }
  return records;
}

void print_json(const std::vector<CheckedRecord>& records, std::size_t invalid) {
  gateway::Json list = gateway::Json::array();
  for (const CheckedRecord& record : records) {
    gateway::Json errors = gateway::Json::object();
    if (record.errors)
      record.errors->for_each(
          [&](const Variant& field, const Variant& value) { errors[field.to_text()] = value.to_text(); });
    list.push_back({{"partNumber", record.part_number},
                    {"name", record.name},
                    {"valid", record.valid},
                    {"errors", std::move(errors)}});
  }
  const gateway::Json json = {{"read", records.size()},
                              {"valid", records.size() - invalid},
                              {"invalid", invalid},
                              {"records", std::move(list)}};
  std::cout << gateway::line_of(json) << '\n';
}

}  // namespace

int preview(const PreviewOptions& options, const OutputOptions& output) {
  const std::vector<CheckedRecord> records = check(options);
  std::size_t invalid = 0;
  Table table({"PART NUMBER", "NAME", "FIELD", "VALUE"});
  for (const CheckedRecord& record : records) {
    if (record.valid) {
      if (options.all) table.add({shown(record.part_number), shown(record.name, 40), "valid", ""});
      continue;
    }
    ++invalid;
    bool first = true;
    record.errors->for_each([&](const Variant& field, const Variant& value) {
      const std::string text = value.to_text();
      table.add({first ? shown(record.part_number) : "", first ? shown(record.name, 40) : "", shown(field.to_text()),
                 text.empty() ? "(missing)" : shown(text)});
      first = false;
    });
  }
  if (output.json) {
    print_json(records, invalid);
  } else {
    table.print(std::cout);
    if (!table.empty()) std::cout << '\n';
    std::cout << counted(records.size(), "record") << ": " << good(std::to_string(records.size() - invalid) + " valid")
              << ", " << (invalid > 0 ? bad(std::to_string(invalid) + " invalid") : "0 invalid") << ".\n";
  }
  return invalid > 0 ? kDoneInPart : kDone;
}

}  // namespace mercato::cli
