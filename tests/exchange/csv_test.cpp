// SPDX-License-Identifier: Apache-2.0
// CSV as a format: its tables, mappings, and what is proposed without one.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <optional>

#include "bench/support/data_folder.h"
#include "exchange/formats/csv_format.h"
#include "exchange/formats/csv_table.h"
#include "exchange/formats/mapping.h"
#include "tests/exchange/told.h"

namespace mercato::exchange {
namespace {

// Cells between bars, a row on each line, with the line that it begins on.
std::string table_of(std::string_view text, std::size_t piece = 0, char separator = 0, char quote = 0) {
  BytesOfText bytes(text, piece == 0 ? text.size() : piece);
  Decoded decoded(bytes);
  std::string all;
  try {
    CsvTable table(decoded, separator, quote);
    TableRow row;
    while (table.next(row)) {
      all += std::to_string(row.line);
      for (const std::string& cell : row.cells) all += "|" + cell;
      all += row.fault.empty() ? "\n" : " FAULT " + row.fault + "\n";
    }
  } catch (const Raised& raised) {
    all += "raised " + raised.error().Description + "\n";
  }
  return all;
}

TEST(CsvTables, KeepQuotedCellsWhole) {
  const std::string text = "a,b,c\r\n1,\"x,y\",\"he said \"\"no\"\"\"\r\n\r\n2,\"two\nlines\",\n3,\"\",z";
  const std::string expected = "1|a|b|c\n2|1|x,y|he said \"no\"\n4|2|two\nlines|\n6|3||z\n";
  for (const std::size_t piece : {1U, 2U, 3U, 7U, 1000U}) EXPECT_EQ(table_of(text, piece), expected) << piece;
}

TEST(CsvTables, FindTheirSeparatorOut) {
  EXPECT_EQ(table_of("a;b\n1,5;2\n2,5;3\n"), "1|a|b\n2|1,5|2\n3|2,5|3\n");
  EXPECT_EQ(table_of("a\tb, c\n1\t2\n"), "1|a|b, c\n2|1|2\n");
  EXPECT_EQ(table_of("a|b\n1|2\n"), "1|a|b\n2|1|2\n");
  EXPECT_EQ(table_of("\"a;b\",c\n\"1;2;3\",4\n"), "1|a;b|c\n2|1;2;3|4\n");
  EXPECT_EQ(table_of("a;b\n1;2\n", 0, ','), "1|a;b\n2|1;2\n");
  EXPECT_EQ(table_of("a,\"b\n1,2\n", 0, 0, '\1'), "1|a|\"b\n2|1|2\n");
}

TEST(CsvTables, GoOnBehindARowThatCannotBeRead) {
  EXPECT_EQ(table_of("a,b\n\"x\"y,1\nc,d\n"),
            "1|a|b\n2|x FAULT There is text behind the closing quote of cell 1; double a quote that belongs to the "
            "text.\n3|c|d\n");
}

TEST(CsvTables, EndInOneSentenceWhereNothingCanBeReadOn) {
  EXPECT_EQ(table_of("a,b\n1,\"open\n2,3\n"), "1|a|b\nraised The quote that opens on line 2 is never closed.\n");
  EXPECT_EQ(
      table_of("a,b\n" + std::string(20'000, ',') + "\n"),
      "1|a|b\nraised Line 2 has more than 16384 columns, which no table has: the separator may be another one.\n");
  EXPECT_EQ(
      table_of("a,b\n1,\"" + std::string(5'000'000, 'x')),
      "1|a|b\nraised The row that begins on line 2 has more than 4194304 bytes: a quote may not be closed there, or "
      "it is a file of another format.\n");
  EXPECT_EQ(
      table_of("a,b\n1," + std::string(5'000'000, 'x') + "\n"),
      "1|a|b\nraised The row that begins on line 2 has more than 4194304 bytes: a quote may not be closed there, or "
      "it is a file of another format.\n");
}

std::string read(std::string_view text, const char* mapping = nullptr) {
  std::optional<Mapping> read_one;
  ReadingOptions options;
  Told sink;
  std::string failure;
  try {
    if (mapping != nullptr) read_one = read_mapping(mapping, "m.toml");
    if (read_one) options.mapping = &*read_one;
    BytesOfText bytes(text);
    read_csv(bytes, options, sink);
  } catch (const Raised& raised) {
    failure = "raised " + raised.error().Description + "\n";
  }
  const std::string all = sink.text();
  // What is found out has tests of its own.
  const std::size_t header = std::min(all.find("\nheader\n"), all.find("\nheader "));
  return (header == std::string::npos ? std::string() : all.substr(header + 1)) + failure;
}

TEST(CsvItems, AreMadeByTheMapping) {
  const char* mapping =
      "number = 'No'\n"
      "[fields]\n"
      "PRODUCTDESCRIPTION = ['Text', 'Name']\n"
      "UNITCODE = { column = 'Content', split = ' ', part = 2 }\n"
      "[constants]\n"
      "CURRENCY = 'EUR'\n"
      "[units]\n"
      "Stk = 'PCE'\n"
      "[[price]]\n"
      "amount = 'P1'\n"
      "[[price]]\n"
      "amount = 'P2'\n"
      "from_quantity = 'Q2'\n"
      "[category]\n"
      "column = 'Group'\n"
      "separator = '/'\n"
      "[properties]\n"
      "COLOUR = 'Farbe'\n";
  EXPECT_EQ(read("No;Text;Name;Content;P1;P2;Q2;Group;Farbe;Lager\n"
                 "A1;;Nut;5 Stk;1,50;1,20;100;Small parts / Nuts;red;7\n"
                 "A2;Bolt;x;1 KGM;2;;;;;\n",
                 mapping),
            "header CURRENCY=EUR\n"
            "put A1 @2\n"
            "  PRODUCTDESCRIPTION Nut\n"
            "  UNITCODE PCE\n"
            "  (COLOUR) red\n"
            "  price 1,50\n"
            "  price 1,20 from 100\n"
            "  category Small parts > Nuts\n"
            "put A2 @3\n"
            "  PRODUCTDESCRIPTION Bolt\n"
            "  UNITCODE KGM\n"
            "  price 2\n"
            "left out 1 Lager\n");
}

TEST(CsvItems, HaveTheirTiersInOneCellOrInRows) {
  EXPECT_EQ(read("no,tiers,cur\nA,1:0.5;100:0.4,USD\n", "number='no'\n[[price]]\ntiers='tiers'\ncurrency='cur'\n"),
            "header\nput A @2\n  price 0.5 in USD from 1\n  price 0.4 in USD from 100\n");
  EXPECT_EQ(read("no,name,qty,price\nA,Nut,1,5\nA,Nut,10,4\nA,Nut M8,10,4\nB,,1,3\n",
                 "number='no'\n[fields]\nPRODUCTDESCRIPTION='name'\n[[price]]\namount='price'\nfrom_quantity='qty'\n"),
            "header\nput A @2\n  PRODUCTDESCRIPTION Nut\n  price 5 from 1\n  price 4 from 10\n"
            "put A @4\n  PRODUCTDESCRIPTION Nut M8\n  price 4 from 10\nput B @5\n  price 3 from 1\n");
}

TEST(CsvItems, HaveTheirPropertiesInRowsOrInAllOtherColumns) {
  EXPECT_EQ(read("no,a,v\nA,Rated voltage (V),12\nA,Colour,red\nB,Colour,blue\n",
                 "number='no'\naction='update'\n[property_rows]\nname='a'\nvalue='v'\n"),
            "header\nupdate A @2\n  (RATED_VOLTAGE_V) 12\n  (COLOUR) red\nupdate B @4\n  (COLOUR) blue\n");
  EXPECT_EQ(read("no,Rated voltage,x\nA,12,\n", "number='no'\nother_columns='properties'\nignored=['x']\n"),
            "header\nput A @2\n  (RATED_VOLTAGE) 12\n");
}

TEST(CsvItems, AreFoundBehindTitlesAndWithoutHeaders) {
  EXPECT_EQ(read("Price list 2026,,\n,,\nPart no,Description,Price\nA,Nut,1.5\n"),
            "header\nput A @4\n  PRODUCTDESCRIPTION Nut\n  price 1.5\n");
  EXPECT_EQ(read("A,Nut,1.5\n", "number='#1'\nheader_row=0\n[fields]\nPRODUCTDESCRIPTION='#2'\n"),
            "header\nput A @1\n  PRODUCTDESCRIPTION Nut\nleft out 1 #3\n");
}

TEST(CsvItems, OfRowsThatAreTooShortOrTooLongAreNone) {
  EXPECT_EQ(read("no,name\nA\nB,b,c\nC,c\nD,d,\n", "number='no'\n[fields]\nPRODUCTDESCRIPTION='name'\n"),
            "header\n"
            "flawed A: The row has 1 cells, and there are 2 headers. Put texts that hold the separator in quotes. @2\n"
            "flawed B: The row has 3 cells, and there are 2 headers. Put texts that hold the separator in quotes. @3\n"
            "put C @4\n  PRODUCTDESCRIPTION c\nput D @5\n  PRODUCTDESCRIPTION d\n");
}

TEST(CsvFiles, AreReadWithoutAMappingOnlyWhenTheNumbersAreCertain) {
  const char* kUncertain =
      "raised It is not certain which column holds the supplier's part number. Write a first mapping with `mercato "
      "import --propose FILE > mapping.toml`, mend it, and import with --mapping mapping.toml.\n";
  EXPECT_EQ(read("id,name\n1,Nut\n"), kUncertain);
  EXPECT_EQ(read("part number,item no\n1,2\n"), kUncertain);
  EXPECT_EQ(read("part number,name\n1,a\n2,b\n1,c\n"), kUncertain);
  EXPECT_EQ(read("part number,name\n1,a\n,b\n"), kUncertain);
  EXPECT_EQ(read("Artikel-Nr.;Bezeichnung\n1;Mutter\n"), "header\nput 1 @2\n  PRODUCTDESCRIPTION Mutter\n");
}

TEST(CsvFiles, SayWhatWasFoundOut) {
  EXPECT_EQ(told("Artikelnummer;Preis\nA;1,50\n"),
            "encoding is UTF-8\nseparator is ;\nheaders is line 1\ndecimal sign ,\nheader\nput A @2\n  price 1,50\n");
  EXPECT_EQ(told("one line without any\n"), "no format");
}

TEST(Mappings, AreRefusedWithTheirLine) {
  const struct {
    const char* mapping;
    const char* fault;
  } cases[] = {
      {"[fields]\n",
       "m.toml, line 1: it does not say which column holds the supplier's part number: number = "
       "\"HEADER\"."},
      {"number='no'\nprize='x'\n",
       "m.toml, line 2: there is no \"prize\" here; known are action, category, constants, dates, decimal, encoding, "
       "fields, header_row, ignored, number, other_columns, price, properties, property_rows, quote, separator, sheet, "
       "thousands, units."},
      {"number='no'\n[[price]]\ncurrency='c'\n", "m.toml, line 2: a price needs either \"amount\" or \"tiers\"."},
      {"number='no'\ndecimal='..'\n", "m.toml, line 2: one character belongs here."},
      {"number='no'\ndates='us'\n", "m.toml, line 2: \"iso\", \"dmy\" or \"mdy\" belongs here."},
      {"number='nowhere'\n",
       "The mapping names the column \"nowhere\", which the file has not. It has \"no\", \"name\", "
       "\"name\"."},
      {"number='name'\n", "Several columns have the header \"name\". Name the one that is meant by its place: \"#2\"."},
      {"number=\n", "m.toml, line 1: Error while parsing key-value pair: expected value, saw '\\n'."},
  };
  for (const auto& one : cases)
    EXPECT_EQ(read("no,name,name\nA,b,c\n", one.mapping), std::string("raised ") + one.fault + "\n");
}

std::string proposed(std::string_view text) {
  BytesOfText bytes(text);
  return propose_csv_mapping(bytes, {}, "parts.csv");
}

TEST(ProposedMappings, ComeFromHeadersAndValues) {
  EXPECT_EQ(
      proposed("Best.-Nr.;Artikel-Nr.;Bezeichnung;Strichnummer;Preis 1;ab 2;Preis 2;Währung;Größe (mm);leer\n"
               "x;A1;Mutter;4006381333931;1,50;100;1,20;EUR;8;\n"
               "y;A2;Schraube;96385074;2,50;;;EUR;10;\n"),
      "# Which column of parts.csv is what. Proposed from its headers and its first 3 rows: read it before you use "
      "it.\n"
      "# The column \"Strichnummer\" holds trade item numbers: their check digits are right.\n"
      "\n"
      "number = \"Artikel-Nr.\"  # such as \"A1\"\n"
      "\n"
      "[fields]\n"
      "PRODUCTDESCRIPTION = \"Bezeichnung\"  # such as \"Mutter\"\n"
      "GTIN = \"Strichnummer\"  # such as \"4006381333931\"\n"
      "\n"
      "[constants]  # of products for which the file says nothing\n"
      "# UNITCODE = \"PCE\"\n"
      "\n"
      "[[price]]\n"
      "amount = \"Preis 1\"  # such as \"1,50\"\n"
      "currency = \"Währung\"  # such as \"EUR\"\n"
      "\n"
      "[[price]]\n"
      "amount = \"Preis 2\"  # such as \"1,20\"\n"
      "from_quantity = \"ab 2\"  # such as \"100\"\n"
      "currency = \"Währung\"  # such as \"EUR\"\n"
      "\n"
      "[properties]\n"
      "BEST_NR = \"Best.-Nr.\"  # such as \"x\"\n"
      "\"GRÖßE_MM\" = \"Größe (mm)\"  # such as \"8\"\n"
      "\n"
      "# Empty in all rows that were looked at: \"leer\"\n");
}

TEST(ProposedMappings, AreMappings) {
  for (const char* text : {"Part no,\"a \"\"b\"\" \\ c\",Tab\there\n1,x,y\n", "a,b\n1,2\n", "sku,sku\n1,2\n", "1,2\n",
                           "part number,price_tiers\nA,1:2;3:4\n", "part number,attribute,value\nA,x,y\n"}) {
    const std::string mapping = proposed(text);
    SCOPED_TRACE(mapping);
    if (mapping.find("\nnumber = ") == std::string::npos) continue;
    const std::string result = read(text, mapping.c_str());
    EXPECT_EQ(result.find("raised"), std::string::npos) << result;
    EXPECT_NE(result.find("put "), std::string::npos);
  }
}

TEST(ProposedMappings, TakeRealTablesWhole) {
  const std::filesystem::path table = bench::data_folder() / "products" / "components-1k.csv";
  std::ifstream file(table);
  if (!file) GTEST_SKIP() << "there is no real data at " << table << "; MERCATO_DATA names its folder";
  std::stringstream text;
  text << file.rdbuf();
  const std::string all = read(text.str());
  std::size_t items = 0;
  for (std::size_t at = all.find("\nput "); at != std::string::npos; at = all.find("\nput ", at + 1)) ++items;
  EXPECT_EQ(items, 1000U);
  EXPECT_EQ(all.find("left out"), std::string::npos);
  EXPECT_EQ(all.find("flawed"), std::string::npos);
  EXPECT_NE(all.find("put C1002 @2\n  MFRPARTNUMBER GZ1608D601TF\n"), std::string::npos);
  EXPECT_NE(all.find("  price 0.0162 in USD from 200\n"), std::string::npos);
}

}  // namespace
}  // namespace mercato::exchange
