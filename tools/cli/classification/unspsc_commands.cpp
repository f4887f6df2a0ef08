// SPDX-License-Identifier: Apache-2.0
// mercato unspsc: the UNSPSC codes.
#include <algorithm>
#include <iostream>
#include <memory>
#include <optional>

#include "classification/unspsc_code.h"
#include "classification/unspsc_upload.h"
#include "frame/lib_error_handling.h"
#include "frame/sentence.h"
#include "mercato/object_context.h"
#include "mercato/t_unspsc.h"
#include "platform/files/files.h"
#include "platform/spreadsheet/workbook.h"
#include "tools/cli/library.h"
#include "tools/cli/menu.h"
#include "tools/cli/one_transaction.h"
#include "tools/cli/refusal_reasons.h"
#include "tools/cli/terminal/listing.h"
#include "tools/cli/upload_journal.h"
#include "values/text.h"

namespace mercato::cli {
namespace unspsc_commands {

struct CodesFile {
  std::string file;
  bool overwrite = false;
  bool commodities = false;
  bool without_journal = false;
};
struct Branch {
  std::string code;  // empty: the whole tree
  int depth = 2;
};

bool is_digits(const std::string& code) {
  return std::ranges::all_of(code, [](char character) { return character >= '0' && character <= '9'; });
}

class Watcher : public UnspscUploadObserver {
 public:
  bool waits() const override { return false; }
  void on_start(std::size_t items) override { progress_.emplace(items); }
  // The library takes "30,100,000" and "1E000000" for codes, and would write over others with them.
  bool takes(const std::string& code) override { return is_digits(code); }
  // A row that exists or does not fit is that row's own failure. Any other one says that the store takes no rows.
  void on_failure(const RaisedError& failure) override {
    const bool is_of_row =
        failure.Number == error_number::kConstraintViolated || failure.Number == error_number::kValueTooLong;
    if (!is_of_row && !store_failure) store_failure = failure;
  }
  void on_code(const UploadedCode& code) override {
    progress_->advance();
    ++read;
    if (code.outcome == CodeOutcome::written)
      ++written;
    else
      refused.push_back(code);
  }
  void on_unreadable(const std::string& reason) override { unreadable = reason; }

  std::size_t read = 0;
  std::size_t written = 0;
  std::vector<UploadedCode> refused;
  std::optional<RaisedError> store_failure;  // the first
  std::string unreadable;                    // why the file is
  void end_progress() { progress_.reset(); }

 private:
  std::optional<Progress> progress_;
};

std::string reason_of(const UploadedCode& code, bool overwrite) {
  const auto not_taken_by = [&](const char* table, const char* present) -> std::string {
    const Reasons reasons = reasons_against_write(table, Array{"DESCRIPTION"}, Array{code.description});
    if (!reasons.empty()) return reasons.front();
    return overwrite ? "the store did not take it"
                     : std::string(present) + "; --overwrite gives it the new description";
  };
  switch (code.outcome) {
    case CodeOutcome::malformed:
      // It reads as a number, but has other characters than digits: the code is shown in another form.
      if (text::parse_number(code.code) && !is_digits(code.code))
        return "not written in digits alone, without signs, blanks and line breaks; in a spreadsheet give the cell the "
               "format Text";
      return "not a code: 8 or 10 digits, pairs of zeros at the end only";
    case CodeOutcome::code_exists:
      return not_taken_by("UNSPSCCODES", "exists already");
    case CodeOutcome::commodity_exists:
      return not_taken_by("COMMODITY", "written, but the commodity exists already");
    case CodeOutcome::no_parent:
      return "the code above it, " + unspsc::place_of(code.code).value_or(unspsc::Place{}).parent + ", is missing";
    case CodeOutcome::written:
      break;
  }
  return {};
}

bool is_document(const std::string& file) {
  return text::to_lower(file).ends_with(".xml") || file.find("://") != std::string::npos;
}

// What became of the file, and what to do, where the library's own words do not say it; else nothing.
std::string words_for(const RaisedError& failure, const Watcher& watcher, const std::string& file) {
  switch (failure.Number) {
    case error_number::kOverflow:
      return "The used cells of " + file +
             " reach beyond row or column 32,767, where the count ends; split the file, or delete what is not needed";
    case error_number::kObjectNotSet:
      return is_document(file) ? std::string()
                               : "The first sheet of " + file + " is empty; it needs a heading and codes";
    case error_number::kTimeout:
      return "Nothing of " + file + " was loaded: it takes longer than call_seconds of the settings allows";
    case eUnableToLoadXML:
      if (watcher.unreadable.empty())
        return "The document " + file + " does not fit its schema: " + innermost_description(failure.Description);
      return watcher.unreadable +
             (is_document(file) || !files::file_exists(file) ? "" : " It has to be a workbook of the format .xlsx");
    default:
      return {};
  }
}

// The words become the innermost ones of the failure, which --trace shows whole.
[[noreturn]] void raise_in_words(RaisedError failure, const std::string& words) {
  if (!words.empty()) failure.Description += Err_FormatMessage(words, failure.Number, "mercato unspsc load");
  throw Raised(std::move(failure));
}

[[noreturn]] void raise_unwritable(const std::string& file, RaisedError failure) {
  std::string words = "Nothing of " + file + " was loaded, since the store cannot be written. " + sentence(failure);
  words.pop_back();  // the full stop, which every description gets
  if (misses_a_definition(failure)) failure.Number = error_number::kStoreFailure;  // without tables it is no store
  throw Raised(told_as(std::move(failure), words));
}

// The library passes over statements that fail: in a store that cannot be written it would say of every code that it
// exists. So writing is tried first.
void require_writable_store(const std::string& file) {
  try {
    const OneTransaction never_committed;
    unspsc::require_writable_codes(connection_string());
  } catch (const Raised& raised) {
    raise_unwritable(file, raised.error());
  }
}

// The numbers of the rows below the heading, as far as the workbook can still be read. Nothing for a document, whose
// items are counted.
std::vector<std::int32_t> rows_of_items(const std::string& file) {
  std::vector<std::int32_t> rows;
  spreadsheet::Workbook workbook;
  if (is_document(file) || !workbook.open(file)) return rows;
  std::vector<std::string> none;
  suppressing_failures([&] {
    for (workbook.next_row(0, none); workbook.next_row(0, none);) rows.push_back(workbook.row_number());
  });
  return rows;
}

void end_journal(UploadJournal& journal, const Watcher& watcher, bool overwrite) {
  std::vector<exchange::KeptFinding> findings;
  for (const UploadedCode& code : watcher.refused)
    findings.push_back({"refused", code.code, static_cast<std::int32_t>(code.item), "DESCRIPTION", code.description,
                        reason_of(code, overwrite)});
  exchange::UploadResult outcome;
  outcome.counts.read = static_cast<std::int32_t>(watcher.read);
  outcome.counts.refused = static_cast<std::int32_t>(watcher.refused.size());
  journal.end_counted(outcome, watcher.written, findings);
}

int load(const CodesFile& given, const OutputOptions& output) {
  require_writable_store(given.file);
  UploadJournal journal(!given.without_journal, "unspsc", given.file);
  try {
    if (journal.get()) journal.get()->before(exchange::Reach::Kind::codes, {});
  } catch (const Raised& raised) {
    raise_unwritable(given.file, raised.error());
  }
  Watcher watcher;
  const auto object = std::dynamic_pointer_cast<TUNSPSC>(create_root("Mercato.TUNSPSC"));
  object->set_observer(&watcher);
  try {
    call(object, is_document(given.file) ? "UploadFromXML" : "UploadFromXLS",
         {given.file, given.overwrite, given.commodities});
  } catch (const Raised& raised) {
    watcher.end_progress();
    raise_in_words(raised.error(), words_for(raised.error(), watcher, given.file));
  }
  watcher.end_progress();
  if (watcher.store_failure) {
    object->context()->SetAbort();
    object->context()->release();
    raise_unwritable(given.file, *watcher.store_failure);
  }
  // The upload casts no vote, so its transaction ends with the object: here, where a commit that fails is told.
  object->context()->release();
  end_journal(journal, watcher, given.overwrite);

  gateway::Json list = gateway::Json::array();
  const bool in_rows = !is_document(given.file);
  Table table({in_rows ? "ROW" : "ITEM", "CODE", "DESCRIPTION", "REASON"});
  const std::vector<std::int32_t> rows =
      watcher.refused.empty() ? std::vector<std::int32_t>() : rows_of_items(given.file);
  for (const UploadedCode& code : watcher.refused) {
    const std::string reason = reason_of(code, given.overwrite);
    const std::size_t place = code.item <= rows.size() ? static_cast<std::size_t>(rows[code.item - 1]) : code.item;
    list.push_back({{in_rows ? "row" : "item", place},
                    {"code", code.code},
                    {"description", code.description},
                    {"number", static_cast<int>(code.outcome)},
                    {"reason", reason}});
    table.add({std::to_string(place), shown(code.code), shown(code.description, 40), reason});
  }
  if (!watcher.refused.empty() && !output.json) {
    std::cout << "Refused:\n";
    table.print(std::cout);
    std::cout << '\n';
  }
  answer(output,
         {{"read", watcher.read},
          {"written", watcher.written},
          {"refused", watcher.refused.size()},
          {"refusals", std::move(list)}},
         counted(watcher.read, "code") + " read, " + std::to_string(watcher.written) + " written, " +
             std::to_string(watcher.refused.size()) + " refused.");
  return watcher.refused.empty() ? kDone : kDoneInPart;
}

// The codes below this one, so many levels deep: to the table, and as JSON.
gateway::Json add_branch(const ComponentPtr& codes, const std::string& parent, int depth, const std::string& indent,
                         Table& table) {
  gateway::Json list = gateway::Json::array();
  if (depth == 0) return list;
  const std::int16_t level = unspsc::level_below(parent);
  call(codes, "GetAllUNSPSCCodes", {level, parent})
      .to<Dictionary>()
      ->for_each([&](const Variant& code, const Variant& description) {
        const std::string text = description.text_or_empty();
        table.add({indent + shown(code.to_text()), shown(text)});
        gateway::Json node = {{"code", code.to_text()}, {"description", text}};
        if (depth > 1) node["codes"] = add_branch(codes, code.to_text(), depth - 1, indent + "  ", table);
        list.push_back(std::move(node));
      });
  return list;
}

int tree(const Branch& given, const OutputOptions& output) {
  const ComponentPtr codes = create_root("Mercato.UNSPSC");
  Table table({"CODE", "DESCRIPTION"});
  const std::string code = unspsc::without_zero_pairs(given.code);
  std::string indent;
  if (!code.empty()) {
    if (code.size() < 2 || !is_digits(code) || !call(codes, "IsUNSPSCCodeExists", {code}).to_boolean())
      raise(error_number::kInvalidArgument, {}, "There is no UNSPSC code " + given.code);
    table.add({shown(code), shown(call(codes, "getUNSPSCDescription", {code}).to_text())});
    indent = "  ";
  }
  gateway::Json list = add_branch(codes, code, given.depth, indent, table);
  return answer_list(output, "codes", std::move(list), table, "There are no UNSPSC codes.");
}

}  // namespace unspsc_commands

void add_unspsc_commands(Menu& menu) {
  using namespace unspsc_commands;
  Menu::Group group = menu.group("unspsc", "Load UNSPSC codes, and show their tree");
  {
    const auto [command, given] =
        group.add("load", "Load codes from a spreadsheet or an XML document",
                  "  mercato unspsc load codes.xlsx\n"
                  "  mercato unspsc load codes.xml --overwrite --commodities\n"
                  "Of a spreadsheet the first sheet is read: a heading, then a code and its description in each row. A "
                  "document has\n"
                  "<UNSPSC_ITEM><CODE>44000000</CODE><DESCRIPTION>Office supplies</DESCRIPTION></UNSPSC_ITEM> below "
                  "<UNSPSC_ITEMS>.\n"
                  "A code stands behind the one above it. Exit status 3 when a code was refused; each is listed with "
                  "the reason.\n",
                  load);
    command.add_option("FILE", given.file, "A workbook (.xlsx), or a document (.xml or a URL)")->required();
    command.add_flag("--overwrite", given.overwrite, "A code that exists gets the new description");
    command.add_flag("--commodities", given.commodities, "Make commodities of the codes that are written, too");
    command.add_flag("--no-journal", given.without_journal, "Keep nothing that could take it back");
  }
  {
    const auto [command, given] = group.add("tree", "Show the codes below a code, or from the top",
                                            "  mercato unspsc tree\n"
                                            "  mercato unspsc tree 91100000\n"
                                            "  mercato unspsc tree 91 --depth 4\n",
                                            tree);
    command.add_option("CODE", given.code, "The code; pairs of zeros at its end may be left out");
    command.add_option("--depth", given.depth, "How many levels below it")
        ->type_name("N")
        ->between(1, 10)
        ->capture_default_str();
  }
}

}  // namespace mercato::cli
