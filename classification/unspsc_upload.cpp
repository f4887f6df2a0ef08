// SPDX-License-Identifier: Apache-2.0
// The uploads of UNSPSC codes: two ways to read codes and descriptions, one way to write them.
#include "classification/unspsc_upload.h"

#include <cstdint>
#include <optional>

#include "classification/unspsc_code.h"
#include "frame/contracts.h"
#include "frame/documents.h"
#include "frame/lib_general.h"
#include "frame/lib_mts.h"
#include "frame/lib_sql.h"
#include "frame/method.h"
#include "frame/spreadsheet.h"
#include "frame/upload_run.h"
#include "mercato/t_unspsc.h"
#include "values/text.h"

namespace mercato {
namespace {

constexpr const char* kFromXls = "Mercato.UNSPSC.UploadFromXLS";
constexpr const char* kFromXml = "Mercato.UNSPSC.UploadFromXML";
constexpr const char* kSchemaPath = "\\xmlschemas\\UNSPSC_Schema.xml";

// Runs a statement and passes over its failure. Only want of memory ends the call, as the timeout does.
template <class Statement>
void ignoring_failures(Statement statement) {
  try {
    raising_out_of_memory(statement);
  } catch (const Raised& failure) {
    if (failure.error().Number == error_number::kOutOfMemory) throw;
    current_error() = {};
  }
}

// Whether the statement changed a row. One that fails changed none.
bool changes_a_row(const ConnectionPtr& connection, const Sql& sql) {
  std::int64_t affected = 0;
  ignoring_failures([&] { connection->ExecuteAffecting(sql, affected); });
  return affected > 0;
}

// Inserts a row, or else, where that is wished, updates the one that is there.
template <class Update>
bool is_written(const ConnectionPtr& connection, const Sql& insert, bool overwrite, Update update) {
  return changes_a_row(connection, insert) || (overwrite && changes_a_row(connection, update()));
}

// Whether the statement finds no row. One that fails counts as if it had found one.
bool is_missing(const ConnectionPtr& connection, const Sql& sql) {
  bool missing = false;
  ignoring_failures([&] { missing = connection->Execute(sql)->Eof(); });
  return missing;
}

bool is_blank(const std::string& text) { return text::trim(text).empty(); }

}  // namespace

DictionaryPtr TUNSPSC::UploadFromXLS(const std::string& sFile, bool bOverwrite, bool bUpdCommodity) {
  Spreadsheet workbook;
  ConnectionPtr connection;
  return method(
      [&] {
        workbook.create_plainly();
        workbook.Open(sFile);
        const Array area = workbook.UsedArea();
        // Raises 6 for a position beyond 16 bits.
        const auto position = [&](std::size_t which) { return area.items.at(which).to_short(); };
        const std::int16_t first_row = position(0);
        position(1);
        const std::int16_t last_row = position(2);
        position(3);
        connection = open_connection(shared_connection_string());
        StoreRun run;
        auto refused_codes = std::make_shared<Dictionary>();
        tell(
            [&](UnspscUploadObserver& observer) { observer.on_start(static_cast<std::size_t>(last_row - first_row)); });
        workbook.ReadRow(0);  // the heading
        std::size_t item = 0;
        for (Variant row = workbook.ReadRow(2); !row.is_null(); row = workbook.ReadRow(2)) {
          ++item;
          const std::string code = row.to_array().at(0).to_text();
          if (is_blank(code)) continue;
          if (is_cancelled()) break;
          upload_code(connection, item, code, row.to_array().at(1).to_text(), {bOverwrite, bUpdCommodity},
                      *refused_codes);
        }
        run.finish();
        Sql_CloseConnection(connection);
        workbook.Close();
        workbook.release();
        return refused_codes;
      },
      Tail{kFromXls, [&] {
             // Without the component or the workbook the call ends here, without a vote and a log entry.
             if (!workbook.is_open()) {
               const std::string reason = current_error().Description;
               tell([&](UnspscUploadObserver& observer) { observer.on_unreadable(reason); });
               raise(eUnableToLoadXML, kFromXls,
                     workbook.created() ? "Unable to load XLS" : "MS Excel should be installed to upload from XLS");
             }
             Mts_SetAbort();
           }});
}

DictionaryPtr TUNSPSC::UploadFromXML(const std::string& sFile, bool bOverwrite, bool bUpdCommodity) {
  xml::Document document;
  xml::Schema schema;
  ConnectionPtr connection;
  const auto tell_reason = [&](const std::string& reason) {
    tell([&](UnspscUploadObserver& observer) { observer.on_unreadable(reason); });
  };
  return method(
      [&](TailSwitch& tail) {
        if (!document.load(sFile)) {
          tail.disarm();
          tell_reason(document.error());
          raise(eUnableToLoadXML, kFromXml, "Unable to load XML");
        }
        grundwerk::Configuration configuration;
        configuration.create_plainly();
        if (!schema.load(configuration.GetInstallDir() + kSchemaPath))
          raise(error_number::kFileNotFound, {}, schema.error());
        if (const std::string fault = schema.fault_of(document); !fault.empty()) {
          tail.disarm();
          raise(eUnableToLoadXML, kFromXml, fault);
        }
        const xml::NodeList items = document.document_element().elements_by_tag_name("UNSPSC_ITEM");
        connection = open_connection(shared_connection_string());
        StoreRun run;
        auto refused_codes = std::make_shared<Dictionary>();
        tell([&](UnspscUploadObserver& observer) { observer.on_start(items.size()); });
        for (std::size_t item = 1; item <= items.size(); ++item) {
          const xml::NodeList children = items.item(item - 1).children();
          const std::string code = children.item(0).typed_value();
          if (is_blank(code)) continue;
          if (is_cancelled()) break;
          upload_code(connection, item, code, children.item(1).typed_value(), {bOverwrite, bUpdCommodity},
                      *refused_codes);
        }
        run.finish();
        Sql_CloseConnection(connection);
        return refused_codes;
      },
      Tail{kFromXml, [&] {
             // Without a schema the call ends here, without a vote and a log entry.
             if (!schema.is_loaded()) {
               tell_reason(current_error().Description);
               raise(eUnableToLoadXML, kFromXml, "Schema not found");
             }
             Mts_SetAbort();
           }});
}

void TUNSPSC::upload_code(const ConnectionPtr& connection, std::size_t item, const std::string& code,
                          const std::string& description, Wishes wishes, Dictionary& refusals) {
  bool taken = true;
  tell([&](UnspscUploadObserver& observer) { taken = observer.takes(code); });
  const std::size_t failures = connection->Errors().size();
  const CodeOutcome outcome = taken ? UploadCodeRow(connection, code, description, wishes) : CodeOutcome::malformed;
  // A timeout may be among the failures that were passed over: it ends the call all the same.
  check_call_limit();
  for (std::size_t passed_over = failures; passed_over < connection->Errors().size(); ++passed_over)
    tell([&](UnspscUploadObserver& observer) { observer.on_failure(connection->Errors()[passed_over]); });
  if (outcome != CodeOutcome::written && !refusals.Exists(code)) refusals.Add(code, static_cast<std::int16_t>(outcome));
  tell([&](UnspscUploadObserver& observer) { observer.on_code({code, description, outcome, item}); });
}

CodeOutcome TUNSPSC::UploadCodeRow(const ConnectionPtr& connection, const std::string& code,
                                   const std::string& description, Wishes wishes) {
  const std::optional<unspsc::Place> place = unspsc::place_of(code);
  if (!place) return CodeOutcome::malformed;
  const std::string parent = Gen_QuoteSql(place->parent);
  const std::string segment = Gen_QuoteSql(place->segment);
  const std::string quoted_description = Gen_QuoteSql(description);

  if (!place->parent.empty()) {
    const Sql sql = Sql("Select * from UNSPSCCODES WHERE PARENTCODE = '")
                    << value(Gen_QuoteSql(text::without_last(place->parent, 2))) << "' and UNSPSCCODE = '"
                    << value(Gen_QuoteSql(text::right(place->parent, 2))) << "'";
    if (is_missing(connection, sql)) return CodeOutcome::no_parent;
  }

  const Sql insert_code = Sql("INSERT INTO UNSPSCCODES VALUES ('")
                          << value(parent) << "','" << value(segment) << "'," << value(std::to_string(place->level))
                          << ", N'" << value(quoted_description) << "')";
  const auto update_code = [&] {
    return Sql("UPDATE UNSPSCCODES SET DESCRIPTION = N'")
           << value(quoted_description) << "' WHERE PARENTCODE = '" << value(parent) << "' AND UNSPSCCODE = '"
           << value(segment) << "'";
  };
  if (!is_written(connection, insert_code, wishes.overwrite, update_code)) return CodeOutcome::code_exists;
  if (!wishes.commodities) return CodeOutcome::written;

  const std::string whole_code = Gen_QuoteSql(code);
  const Sql insert_commodity = Sql("INSERT INTO COMMODITY(COMMODITYCODE, DESCRIPTION) VALUES ('")
                               << value(whole_code) << "', N'" << value(quoted_description) << "')";
  const auto update_commodity = [&] {
    return Sql("UPDATE COMMODITY SET DESCRIPTION = N'")
           << value(quoted_description) << "' WHERE COMMODITYCODE = '" << value(whole_code) << "'";
  };
  if (!is_written(connection, insert_commodity, wishes.overwrite, update_commodity))
    return CodeOutcome::commodity_exists;
  return CodeOutcome::written;
}

void unspsc::require_writable_codes(const std::string& connection_string) {
  open_connection(connection_string)
      ->Execute(LiteralPiece("UPDATE UNSPSCCODES SET DESCRIPTION = DESCRIPTION WHERE 0 = 1"));
}

void TUNSPSC::tell(const std::function<void(UnspscUploadObserver&)>& news) {
  if (!observer_) return;
  try {
    if (observer_->waits()) StoreRun::before_waiting();
    news(*observer_);
  } catch (...) {
    // An observer that throws is not heard.
  }
}

bool TUNSPSC::is_cancelled() {
  bool cancelled = false;
  tell([&](UnspscUploadObserver& observer) { cancelled = observer.cancels(); });
  return cancelled;
}

}  // namespace mercato
