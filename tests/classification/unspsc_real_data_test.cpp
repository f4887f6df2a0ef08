// SPDX-License-Identifier: Apache-2.0
// A whole real classification through both uploads: 20,789 codes in three languages.
#include <gtest/gtest.h>

#include <map>

#include "bench/support/component_files.h"
#include "bench/support/data_folder.h"
#include "tests/classification/unspsc_fixture.h"

namespace mercato::test {
namespace {

class UnspscRealData : public UnspscTest {
 protected:
  static std::filesystem::path source(const std::string& name) { return bench::data_folder() / "unspsc" / name; }
  static Codes read(const std::string& name) {
    bench::CsvReader csv(source(name));
    const std::size_t code = csv.column("code8");
    const std::size_t title = csv.column("title");
    Codes codes;
    for (std::vector<std::string> row; csv.next(row);) codes.emplace_back(row[code], row[title]);
    return codes;
  }
  // Full code to title, as the store has them, trailing zero pairs added.
  std::map<std::string, std::string> stored() const {
    std::map<std::string, std::string> all;
    for (const auto& row : codes()) {
      std::string code = row[0].to_text() + row[1].to_text();
      EXPECT_EQ(row[2], Variant(static_cast<std::int16_t>(code.size() / 2)));
      code.resize(8, '0');
      all[code] = row[3].to_text();
    }
    return all;
  }
};

TEST_F(UnspscRealData, WholeClassificationIsLoadedFromAWorkbookAndFromADocumentAndOverwrittenInOtherLanguages) {
#ifdef MERCATO_SANITIZED
  GTEST_SKIP() << "A sanitizer takes a minute for it, and sees the same calls with fewer codes in the other tests";
#endif
  for (const std::string name : {"unspsc-en.csv", "unspsc-fr.csv.gz", "unspsc-ja.csv.gz"})
    if (!std::filesystem::exists(source(name)))
      GTEST_SKIP() << "there is no real data at " << source(name) << "; MERCATO_DATA names its folder";
  const Codes english = read("unspsc-en.csv");
  ASSERT_EQ(english.size(), 20789u);
  const auto as_map = [](const Codes& codes) { return std::map<std::string, std::string>(codes.begin(), codes.end()); };

  EXPECT_EQ(refusals(Root<TUNSPSC>()->UploadFromXLS(workbook(english), false, true)), Refusals{});
  EXPECT_EQ(stored(), as_map(english));
  EXPECT_EQ(commodities().size(), english.size());

  const Codes french = read("unspsc-fr.csv.gz");
  EXPECT_EQ(refusals(Root<TUNSPSC>()->UploadFromXML(document(french), false, false)).size(), french.size());
  EXPECT_EQ(stored(), as_map(english));
  EXPECT_EQ(refusals(Root<TUNSPSC>()->UploadFromXML(document(french), true, false)), Refusals{});
  EXPECT_EQ(stored(), as_map(french));

  const Codes japanese = read("unspsc-ja.csv.gz");
  EXPECT_EQ(refusals(Root<TUNSPSC>()->UploadFromXLS(workbook(japanese), true, true)), Refusals{});
  EXPECT_EQ(stored(), as_map(japanese));
  EXPECT_EQ(value_of("SELECT DESCRIPTION FROM COMMODITY WHERE COMMODITYCODE = '10101500'"),
            Variant(as_map(japanese).at("10101500")));

  execute({"DELETE FROM UNSPSCCODES"});
  EXPECT_EQ(refusals(Root<TUNSPSC>()->UploadFromXML(document(english), false, false)), Refusals{});
  EXPECT_EQ(stored(), as_map(english));
}

}  // namespace
}  // namespace mercato::test
