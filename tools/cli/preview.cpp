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

namespace mercato::cli {
namespace {

struct CheckedRecord {
  std::string part_number;
  std::string name;
  bool valid = false;
  DictionaryPtr errors;  // of a record that is not valid: field to value
};

std::vector<CheckedRecord> check(const PreviewOptions& options) {
  const ComponentPtr reader = create_root("Mercato.ProductXML");
  const char* method = options.update_only ? "GetCheckedProductUpdateList" : "GetCheckedProductInsertList";
  const auto list = [&] {
    try {
      return call(reader, method, {options.document, true}).to<Collection>();
    } catch (const Raised& raised) {
      // The library does not pass on why.
      xml::Document document;
      if (raised.error().Number == eUnableToLoadXML && !document.load(options.document))
        raise(eUnableToLoadXML, {}, document.error());
      throw;
    }
  }();
  std::vector<CheckedRecord> records;
  for (std::int32_t position = 1; position <= list->Count(); ++position) {
    const auto entry = list->Item(position).to<Collection>();
    CheckedRecord record{entry->Item(1).to_text(), entry->Item(2).to_text(), entry->Item(3).to_boolean(), nullptr};
    if (!record.valid)
      record.errors =
          call(reader, "getErrorsInProductValues", {options.document, true, record.part_number}).to<Dictionary>();
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
