// SPDX-License-Identifier: Apache-2.0
// unspsc_bench [-f FIGURES]
//
// Loads the 20,789 codes of a whole classification, with their commodities, from a workbook and from a document
// (TUNSPSC.UploadFromXLS, UploadFromXML), then once more as overwrites; beside it the same statements by hand on the
// bare engine, by somebody who has the pairs in memory already. Then reads a large workbook. Each measurement has a
// process and a fresh store of its own; of several the median counts. Without the real data the codes are made up.

#include <chrono>
#include <cstdio>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "bench/support/bare_store.h"
#include "bench/support/bench_store.h"
#include "bench/support/child_process.h"
#include "bench/support/component_files.h"
#include "bench/support/data_folder.h"
#include "bench/support/program.h"
#include "bench/support/work_on_copy.h"
#include "mercato/object_context.h"
#include "mercato/t_unspsc.h"
#include "platform/spreadsheet/workbook.h"
#include "platform/store/session_pool.h"
#include "tests/support/workbook_files.h"

namespace mercato::bench {
namespace {

namespace fs = std::filesystem;
using Codes = std::vector<std::pair<std::string, std::string>>;

constexpr int kRounds = 5;
constexpr std::size_t kCodes = 20789;

Codes made_up_codes() {
  Codes codes;
  const auto add = [&](int segment, int family, int group, int commodity) {
    char code[16];
    std::snprintf(code, sizeof code, "%02d%02d%02d%02d", segment, family, group, commodity);
    if (codes.size() < kCodes) codes.emplace_back(code, std::string("What is called ") + code + " here");
  };
  for (int segment = 10; segment < 100; ++segment) {
    add(segment, 0, 0, 0);
    for (int family = 10; family < 16; ++family) {
      add(segment, family, 0, 0);
      for (int group = 15; group < 23; ++group)
        for (int commodity = 0; commodity < 8; ++commodity) add(segment, family, group, commodity);
    }
  }
  return codes;
}

Codes codes_to_load() {
  const fs::path source = data_folder() / "unspsc" / "unspsc-en.csv";
  if (!fs::exists(source)) return made_up_codes();
  CsvReader csv(source);
  const std::size_t code = csv.column("code8");
  const std::size_t title = csv.column("title");
  Codes codes;
  for (std::vector<std::string> row; csv.next(row);) codes.emplace_back(row[code], row[title]);
  return codes;
}

void write_document(const fs::path& path, const Codes& codes) {
  std::ofstream file(path, std::ios::binary);
  file << "<UNSPSC_ITEMS>\n";
  for (const auto& [code, description] : codes)
    file << "<UNSPSC_ITEM><CODE>" << code << "</CODE><DESCRIPTION>" << test::escaped(description)
         << "</DESCRIPTION></UNSPSC_ITEM>\n";
  file << "</UNSPSC_ITEMS>\n";
}

// Both kinds of load: whatever is there is overwritten.
void load_by_hand(const fs::path& path, const Codes& codes) {
  BareStore store(path);
  store.run("BEGIN IMMEDIATE");
  const BareStatement parent = store.prepare("SELECT * FROM UNSPSCCODES WHERE PARENTCODE=?1 AND UNSPSCCODE=?2");
  const BareStatement insert = store.prepare("INSERT INTO UNSPSCCODES VALUES (?1, ?2, ?4, ?3)");
  const BareStatement update =
      store.prepare("UPDATE UNSPSCCODES SET DESCRIPTION=?3 WHERE PARENTCODE=?1 AND UNSPSCCODE=?2");
  const BareStatement commodity = store.prepare("INSERT INTO COMMODITY (COMMODITYCODE, DESCRIPTION) VALUES (?1, ?2)");
  const BareStatement rename = store.prepare("UPDATE COMMODITY SET DESCRIPTION=?2 WHERE COMMODITYCODE=?1");
  const auto bind = [](const BareStatement& statement, int position, std::string_view text) {
    sqlite3_bind_text(statement.get(), position, text.data(), static_cast<int>(text.size()), SQLITE_STATIC);
  };
  const auto run = [&](const BareStatement& statement) {
    const bool done = sqlite3_step(statement.get()) == SQLITE_DONE;
    sqlite3_reset(statement.get());
    return done;
  };
  for (const auto& [code, description] : codes) {
    std::string_view whole = code;
    while (whole.size() > 2 && whole.ends_with("00")) whole.remove_suffix(2);
    const std::string_view above = whole.substr(0, whole.size() - 2);
    const std::string_view segment = whole.substr(above.size());
    if (!above.empty()) {
      bind(parent, 1, above.substr(0, above.size() - 2));
      bind(parent, 2, above.substr(above.size() - 2));
      if (sqlite3_step(parent.get()) != SQLITE_ROW) store.fail("looking for a parent");
      read_row(parent.get());
      sqlite3_reset(parent.get());
    }
    for (const BareStatement* statement : {&insert, &update}) {
      bind(*statement, 1, above);
      bind(*statement, 2, segment);
      bind(*statement, 3, description);
    }
    sqlite3_bind_int(insert.get(), 4, static_cast<int>(whole.size() / 2));
    if (!run(insert) && !run(update)) store.fail("writing a code");
    for (const BareStatement* statement : {&commodity, &rename}) {
      bind(*statement, 1, code);
      bind(*statement, 2, description);
    }
    if (!run(commodity) && !run(rename)) store.fail("writing a commodity");
  }
  store.run("COMMIT");
}

const std::vector<std::string> kCompared = {"SELECT * FROM UNSPSCCODES ORDER BY PARENTCODE, UNSPSCCODE",
                                            "SELECT COMMODITYCODE, DESCRIPTION FROM COMMODITY ORDER BY COMMODITYCODE"};

class LoadBench {
 public:
  explicit LoadBench(Figures& figures) : figures_(figures), codes_(codes_to_load()) {
    test::write_workbook(workbook_.string(), test::codes_content(codes_));
    write_document(document_, codes_);
    in_child_process([&] {
      create_store(empty_);
      fs::copy_file(empty_, full_);
      load_by_hand(full_, codes_);
      return true;
    });
  }

  void run() const {
    const auto load = [&](DictionaryPtr (TUNSPSC::*upload)(const std::string&, bool, bool), const fs::path& file) {
      return [upload, file](const fs::path& store) {
        use_store(store, store.parent_path());
        {
          const Root<TUNSPSC> codes;
          if (((*codes.operator->().operator->()).*upload)(file.string(), true, true)->Count() != 0)
            throw std::runtime_error("a code was refused");
          codes.object()->context()->release();
        }
        store::close_idle_sessions();
      };
    };
    const auto from_workbook = load(&TUNSPSC::UploadFromXLS, workbook_);
    const auto from_document = load(&TUNSPSC::UploadFromXML, document_);
    compare("codes and commodities loaded from a workbook", empty_, from_workbook, at_most(3));
    compare("codes and commodities loaded from a document", empty_, from_document, at_most(3));
    compare("codes and commodities overwritten from a workbook", full_, from_workbook);
  }

 private:
  template <class Load>
  void compare(const std::string& label, const fs::path& from, Load load, std::optional<Goal> goal = {}) const {
    std::vector<Cost<Rows>> library, bare;
    for (int round = 0; round < kRounds; ++round) {
      library.push_back(measure_on_copy(from, kCompared, load));
      bare.push_back(measure_on_copy(from, kCompared, [&](const fs::path& store) { load_by_hand(store, codes_); }));
      if (library.back().contents != bare.back().contents)
        throw std::runtime_error(label + ": the stores do not hold the same rows");
    }
    const std::string name = std::to_string(codes_.size()) + " " + label;
    const double seconds = median(library, &Cost<Rows>::seconds);
    const double bare_seconds = median(bare, &Cost<Rows>::seconds);
    figures_.add(name, seconds, "s");
    figures_.add(name + ": by hand, one transaction", bare_seconds, "s");
    figures_.add(name + " : by hand", seconds / bare_seconds, "x", goal);
    figures_.add(name + " : by hand, processor time",
                 median(library, &Cost<Rows>::cpu_seconds) / median(bare, &Cost<Rows>::cpu_seconds), "x");
  }

  Figures& figures_;
  Codes codes_;
  TemporaryFolder folder_;
  fs::path workbook_ = folder_.path() / "codes.xlsx";
  fs::path document_ = folder_.path() / "codes.xml";
  fs::path empty_ = folder_.path() / "empty.db";
  fs::path full_ = folder_.path() / "full.db";
};

// 200,000 rows of a code as a number, a shared text of its own, a date and an amount.
double write_large_workbook(const fs::path& path) {
  test::WorkbookContent content;
  content.formats = {"00000000", "yyyy-mm-dd", "#,##0.00"};
  constexpr int kRows = 200'000;
  content.texts.reserve(kRows);
  for (int number = 1; number <= kRows; ++number) {
    const std::string place = std::to_string(number);
    content.texts.push_back("<t>What is called " + place + " here</t>");
    content.rows +=
        test::row(number, test::number_cell("A" + place, std::to_string(10000000 + number), 1) + "<c r=\"B" + place +
                              "\" t=\"s\"><v>" + std::to_string(number - 1) + "</v></c>" +
                              test::number_cell("C" + place, std::to_string(40000 + number % 9000), 2) +
                              test::number_cell("D" + place, std::to_string(number) + ".25", 3));
  }
  auto parts = test::workbook_parts(content);
  test::write_archive(path.string(), parts);
  return static_cast<double>(test::part(parts, "xl/worksheets/sheet1.xml").content.size());
}

void read_large_workbook(Figures& figures) {
  const TemporaryFolder folder;
  const fs::path path = folder.path() / "large.xlsx";
  const double sheet_bytes = in_child_process([&] { return write_large_workbook(path); });
  struct Reading {
    double seconds;
    double more_bytes;
  };
  std::vector<Reading> readings;
  for (int round = 0; round < kRounds; ++round)
    readings.push_back(in_child_process([&]() -> Reading {
      const double before_bytes = memory_bytes("VmHWM");
      const auto before = std::chrono::steady_clock::now();
      spreadsheet::Workbook workbook;
      if (!workbook.open(path.string())) throw std::runtime_error(workbook.error());
      std::size_t bytes = 0;
      for (std::vector<std::string> texts; workbook.next_row(4, texts);)
        for (const std::string& text : texts) bytes += text.size();
      if (bytes < 1'000'000) throw std::runtime_error("the workbook was not read");
      return {std::chrono::duration<double>(std::chrono::steady_clock::now() - before).count(),
              memory_bytes("VmHWM") - before_bytes};
    }));
  const std::string name = "workbook with " + std::to_string(static_cast<int>(sheet_bytes / 1e6)) + " MB of sheet";
  figures.add(name + " opened and read", median(readings, &Reading::seconds), "s");
  figures.add(name + ": sheet XML read", sheet_bytes / 1e6 / median(readings, &Reading::seconds), "MB/s", at_least(10));
  figures.add(name + ": memory : sheet XML", median(readings, &Reading::more_bytes) / sheet_bytes, "x", at_most(3));
}

}  // namespace
}  // namespace mercato::bench

int main(int argc, char** argv) {
  using namespace mercato::bench;
  return run_program(argc, argv, [](Figures& figures) {
    read_large_workbook(figures);
    LoadBench(figures).run();
  });
}
