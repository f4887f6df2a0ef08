// SPDX-License-Identifier: Apache-2.0
// What a search finds, in which order, what it tells of it, and its pages.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "tests/search/search_fixture.h"

namespace mercato::test {
namespace {

using FindProducts = SearchTest;

// What is found

TEST_F(FindProducts, FindsWhatHangsInACategoryAndWhatHangsInNone) {
  const std::int32_t hung = add_product("A-1", "copy paper");
  add_product("A-2", "copy paper");
  hang(hung, add_node(add_catalog()));
  EXPECT_EQ(found("paper"), (Numbers{"A-1", "A-2"}));
}

TEST_F(FindProducts, FindsTheWordsInAnyOrderAndInAnyOfTheTexts) {
  add_product("A-1", "Paper for copies, white");
  add_product("A-2", "white board");
  add_product("WHITE-3", "blotting paper");
  EXPECT_EQ(found("white paper"), (Numbers{"A-1", "WHITE-3"}));
  EXPECT_EQ(found("PAPER wHiTe"), (Numbers{"A-1", "WHITE-3"}));
  EXPECT_EQ(found("  white \t paper  "), (Numbers{"A-1", "WHITE-3"}));
  EXPECT_EQ(found("white paper green"), Numbers());
}

TEST_F(FindProducts, FindsPartsOfWords) {
  add_product("A-1", "fuseholders");
  EXPECT_EQ(found("hold"), (Numbers{"A-1"}));
  EXPECT_EQ(found("seho fu"), (Numbers{"A-1"}));
  EXPECT_EQ(found("ho"), (Numbers{"A-1"}));
  EXPECT_EQ(found("x"), Numbers());
}

TEST_F(FindProducts, FindsNumbersWithoutRegardToTheSignsThatTheyAreWrittenWith) {
  add_product("KT-INS 114.DRE", "insulator");
  add_product("KTINS-115/DRE", "insulator");
  EXPECT_EQ(found("KTINS114"), (Numbers{"KT-INS 114.DRE"}));
  EXPECT_EQ(found("ktins114dre"), (Numbers{"KT-INS 114.DRE"}));
  EXPECT_EQ(found("kt ins 115"), (Numbers{"KTINS-115/DRE"}));
  EXPECT_EQ(found("k.t.i.n.s.1"), (Numbers{"KT-INS 114.DRE", "KTINS-115/DRE"}));
}

TEST_F(FindProducts, LooksInTheNumbersOfSupplierAndManufacturer) {
  add_product("A-1", "one", "BUYFROMPARTNUMBER", "N'S 47/11'");
  add_product("A-2", "two", "MFRPARTNUMBER", "N'M-4711-X'");
  EXPECT_EQ(found("4711"), (Numbers{"A-1", "A-2"}));
  EXPECT_EQ(found("S4711"), (Numbers{"A-1"}));
}

TEST_F(FindProducts, ADescriptionIsSearchedBetweenItsBlanks) {
  add_product("A-1", "steep end of KT-INS 9");
  EXPECT_EQ(found("pend"), Numbers());
  EXPECT_EQ(found("ktins"), (Numbers{"A-1"}));
  EXPECT_EQ(found("ktins9"), Numbers());
}

TEST_F(FindProducts, FindsAGtinWholeWithAndWithoutItsZeros) {
  add_product("A-1", "one", "GTIN", "N'04006381333931'");
  add_product("A-2", "two", "GTIN", "N'40063813'");
  EXPECT_EQ(found("4006381333931"), (Numbers{"A-1"}));
  EXPECT_EQ(found("04006381333931"), (Numbers{"A-1"}));
  EXPECT_EQ(found("40063813"), (Numbers{"A-2"}));
  EXPECT_EQ(found("00000040063813"), (Numbers{"A-2"}));
  EXPECT_EQ(found("400638133393"), Numbers());
}

TEST_F(FindProducts, FindsTheWordsInThreeWritings) {
  add_product("A-1", "Caf\u00E9 cr\u00E8me");  // composed
  add_product("A-2", "CAFE\u0301 noir");       // decomposed
  add_product("A-3", "cafe au lait");          // without its accent
  EXPECT_EQ(found("caf\u00E9"), (Numbers{"A-1", "A-2"}));
  EXPECT_EQ(found("CAFE\u0301"), (Numbers{"A-1", "A-2"}));
  EXPECT_EQ(found("cafe"), (Numbers{"A-3"}));
}

TEST_F(FindProducts, SignsWithAMeaningToTheStoreStandForNothing) {
  add_product("A%1", "100% cotton");
  add_product("A_2", "it''s [new] \"now\"");
  add_product("A*3", "AND OR NOT NEAR");
  EXPECT_EQ(found("100%"), (Numbers{"A%1"}));
  EXPECT_EQ(found("it's"), (Numbers{"A_2"}));
  EXPECT_EQ(found("\"new\""), (Numbers{"A_2"}));
  EXPECT_EQ(found("or near"), (Numbers{"A*3"}));
  EXPECT_EQ(found("a_2"), (Numbers{"A_2"}));
  EXPECT_EQ(found("c_tton"), Numbers());
}

TEST_F(FindProducts, ATextWithoutALetterOrDigitFindsNothing) {
  add_product("---", "%%%");
  const FoundProducts nothing = find("%-%");
  EXPECT_TRUE(nothing.products.empty());
  EXPECT_EQ(nothing.total, 0);
  EXPECT_FALSE(nothing.more);
}

TEST_F(FindProducts, AnEmptyTextFindsEverythingInTheOrderOfTheIds) {
  add_product("B", "one");
  add_product("A", "two");
  add_product("C", "three");
  EXPECT_EQ(found(""), (Numbers{"B", "A", "C"}));
  EXPECT_EQ(find(" ").total, 3);
  EXPECT_EQ(find("").products[0].fit, Fit::listed);
}

TEST_F(FindProducts, FindsWhatWasJustWrittenAndNotWhatIsNoMore) {
  add_product("A-1", "paper");
  EXPECT_EQ(found("paper"), (Numbers{"A-1"}));
  execute({"UPDATE PRODUCT SET PRODUCTDESCRIPTION = N'cardboard' WHERE PRODUCTID = 1"});
  EXPECT_EQ(found("paper"), Numbers());
  EXPECT_EQ(found("cardboard"), (Numbers{"A-1"}));
  execute({"DELETE FROM PRODUCT WHERE PRODUCTID = 1"});
  EXPECT_EQ(found("cardboard"), Numbers());
}

TEST_F(FindProducts, ManyLongWordsAreLookedForAll) {
  const std::string long_word(200, 'z');
  add_product("A-1", "one two three four five six seven eight nine ten eleven");
  add_product("A-2", long_word + " tail");
  EXPECT_EQ(found("eleven ten nine eight seven six five four three two one"), (Numbers{"A-1"}));
  EXPECT_EQ(found("eleven ten nine eight seven six five four three two onx"), Numbers());
  EXPECT_EQ(found(long_word), (Numbers{"A-2"}));
  EXPECT_EQ(found(long_word + "z"), Numbers());
}

// The order

TEST_F(FindProducts, TheOrderIsByFitThenByPartNumberThenById) {
  add_product("X-6", "some penholders");                            // part of a word
  add_product("X-5", "a pen, blue");                                // a whole word
  add_product("X-4", "four", "MFRPARTNUMBER", "N'OPEN-1'");         // a number has it
  add_product("PEN-3B", "three");                                   // a number begins so
  add_product("PEN-3A", "three");                                   //
  add_product("X-3C", "three", "BUYFROMPARTNUMBER", "N'P.E.N.3'");  //
  add_product("X-2", "two", "BUYFROMPARTNUMBER", "N'pen'");         // supplier's number
  add_product("X-2", "two", "MFRPARTNUMBER", "N'PEN'");             // manufacturer's number
  add_product("P-E-N", "one");                                      // part number, in another writing
  add_product("Pen", "one");                                        // part number
  const FoundProducts pens = find("pen");
  EXPECT_EQ(numbers_of(pens), (Numbers{"Pen", "P-E-N", "X-2", "X-2", "PEN-3A", "PEN-3B", "X-3C", "X-4", "X-5", "X-6"}));
  std::vector<Fit> fits;
  for (const FoundProduct& product : pens.products) fits.push_back(product.fit);
  EXPECT_EQ(fits, (std::vector<Fit>{Fit::part_number, Fit::part_number, Fit::other_number, Fit::other_number,
                                    Fit::number_begins, Fit::number_begins, Fit::number_begins, Fit::number_holds,
                                    Fit::whole_words, Fit::parts_of_words}));
  EXPECT_EQ(pens.products[2].id, 7);
  EXPECT_EQ(pens.products[3].id, 8);
  EXPECT_EQ(pens.total, 10);
}

TEST_F(FindProducts, AWholeWordMayBeDividedFromOthersBySigns) {
  add_product("A-1", "USBC cable");
  add_product("A-2", "USB-C cable");
  add_product("A-3", "cable (USB)");
  EXPECT_EQ(found("usb"), (Numbers{"A-2", "A-3", "A-1"}));
  EXPECT_EQ(found("usb-c"), (Numbers{"A-1", "A-2"}));
}

TEST_F(FindProducts, AWholeNumberIsAWholeWordToo) {
  add_product("A-9", "case for PEN-100 pens");
  add_product("PEN-1", "a pencil, blue");
  EXPECT_EQ(found("pen1 blue"), (Numbers{"PEN-1"}));
  EXPECT_EQ(find("pen1 blue").products[0].fit, Fit::whole_words);
  EXPECT_EQ(find("pen1 pencil").products[0].fit, Fit::whole_words);
  EXPECT_EQ(find("pen1 penc").products[0].fit, Fit::parts_of_words);
}

// What is told

std::vector<std::string> places_of(const FoundProduct& product) {
  static const char* const names[] = {"part", "supplier", "manufacturer", "description", "gtin"};
  std::vector<std::string> places;
  for (const FoundPlace& place : product.places)
    places.push_back(std::string(names[static_cast<int>(place.field)]) + " " + std::to_string(place.begin) + "+" +
                     std::to_string(place.length));
  return places;
}

TEST_F(FindProducts, TellsWhatItKnowsOfAProduct) {
  add_product("A-1", "paper", "BUYFROMPARTNUMBER, MFRPARTNUMBER, GTIN, UNITCODE, BUSINESSPARTNERID, DISABLED",
              "N'S', N'M', N'4006381333931', N'BX', 12, 1");
  add_product("A-2", "paper");
  const FoundProducts papers = find("paper");
  ASSERT_EQ(papers.products.size(), 2U);
  const FoundProduct& full = papers.products[0];
  EXPECT_EQ(full.id, 1);
  EXPECT_EQ(full.part_number, "A-1");
  EXPECT_EQ(full.description, "paper");
  EXPECT_EQ(full.supplier_part_number, "S");
  EXPECT_EQ(full.manufacturer_part_number, "M");
  EXPECT_EQ(full.gtin, "4006381333931");
  EXPECT_EQ(full.unit, "BX");
  EXPECT_EQ(full.supplier, 12);
  EXPECT_TRUE(full.disabled);
  const FoundProduct& bare = papers.products[1];
  EXPECT_EQ(bare.supplier_part_number, "");
  EXPECT_EQ(bare.gtin, "");
  EXPECT_EQ(bare.supplier, std::nullopt);
  EXPECT_FALSE(bare.disabled);
}

TEST_F(FindProducts, TellsThePlacesInTheTextsAsTheyAreWritten) {
  add_product("KT-INS 114.DRE", "for ktins sets, K.T.INS", "BUYFROMPARTNUMBER, GTIN", "N'x KTINS', N'12345670'");
  using Places = std::vector<std::string>;
  const auto places = [](const std::string& text) { return places_of(find(text).products.at(0)); };
  EXPECT_EQ(places("ktins"), (Places{"part 0+6", "supplier 2+5", "description 4+5", "description 16+7"}));
  EXPECT_EQ(places("s114d"), (Places{"part 5+7"}));
  EXPECT_EQ(places("ins sets"),
            (Places{"part 3+3", "supplier 4+3", "description 6+3", "description 10+4", "description 20+3"}));
  EXPECT_EQ(places("kti ins"), (Places{"part 0+6", "supplier 2+5", "description 4+5", "description 16+7"}));
  EXPECT_EQ(places("12345670"), (Places{"gtin 0+8"}));
}

TEST_F(FindProducts, PlacesCountCharacters) {
  add_product("A-1", "für \U0001F600 caf\u00E9 x");
  add_product("A-2", "fu\u0308r cafe\u0301");  // not composed: all of the text
  const FoundProducts cafes = find("caf\u00E9");
  EXPECT_EQ(places_of(cafes.products.at(0)), (std::vector<std::string>{"description 6+4"}));
  EXPECT_EQ(places_of(cafes.products.at(1)), (std::vector<std::string>{"description 0+10"}));
}

// Filters

TEST_F(FindProducts, KeepsToACategoryACatalogueAndASupplier) {
  const std::int32_t first = add_catalog(), second = add_catalog(false);
  const Node paper = add_node(first), pens = add_node(second), folder = add_node(first, 0);
  hang(add_product("A-1", "red", "BUSINESSPARTNERID", "7"), paper);
  hang(add_product("A-2", "red"), pens);
  hang(add_product("A-3", "red"), folder);
  add_product("A-4", "red", "BUSINESSPARTNERID", "7");
  hang(1, pens);
  ProductSearch search;
  const auto numbers = [&] {
    Numbers with_words, listed;
    search.text = "red";
    with_words = numbers_of(find_products(search));
    search.text = "";
    listed = numbers_of(find_products(search));
    EXPECT_EQ(with_words, listed);
    return listed;
  };
  search.category = pens.category;
  EXPECT_EQ(numbers(), (Numbers{"A-1", "A-2"}));
  search.supplier = 7;
  EXPECT_EQ(numbers(), (Numbers{"A-1"}));
  search.category.reset();
  EXPECT_EQ(numbers(), (Numbers{"A-1", "A-4"}));
  search.catalog = second;
  EXPECT_EQ(numbers(), (Numbers{"A-1"}));
  search.supplier.reset();
  EXPECT_EQ(numbers(), (Numbers{"A-1", "A-2"}));
  search.catalog = first;  // a node that is no category's shows no products
  EXPECT_EQ(numbers(), (Numbers{"A-1"}));
  search.category = pens.category;
  EXPECT_EQ(numbers(), Numbers());
}

// Pages

TEST_F(FindProducts, PagesTellEachProductOnce) {
  for (int number = 1; number <= 7; ++number) add_product("P-" + std::to_string(8 - number), "paper");
  const Numbers all = {"P-1", "P-2", "P-3", "P-4", "P-5", "P-6", "P-7"};
  ProductSearch search;
  search.text = "paper";
  search.limit = 3;
  Numbers by_offset, by_place;
  for (bool more = true; more; search.offset += search.limit) {
    const FoundProducts page = find_products(search);
    EXPECT_EQ(page.total, 7);
    for (const std::string& number : numbers_of(page)) by_offset.push_back(number);
    more = page.more;
    EXPECT_EQ(more, search.offset < 6);
  }
  EXPECT_EQ(by_offset, all);
  search.offset = 0;
  do {
    const FoundProducts page = find_products(search);
    for (const std::string& number : numbers_of(page)) by_place.push_back(number);
    EXPECT_EQ(page.more, !page.next.empty());
    search.after = page.next;
  } while (!search.after.empty());
  EXPECT_EQ(by_place, all);
  search.offset = 7;
  EXPECT_EQ(numbers_of(find_products(search)), Numbers());
}

TEST_F(FindProducts, APageBehindAPlaceHoldsThoughProductsComeAndGo) {
  for (const char* number : {"B", "D", "F", "H"}) add_product(number, "paper");
  ProductSearch search;
  search.text = "paper";
  search.limit = 2;
  search.after = find_products(search).next;
  add_product("A", "paper");
  add_product("E", "paper");
  execute({"DELETE FROM PRODUCT WHERE PARTNUMBER = N'D'"});
  EXPECT_EQ(numbers_of(find_products(search)), (Numbers{"E", "F"}));
}

TEST_F(FindProducts, RefusesAPartThatCannotBe) {
  const auto number_raised = [](const ProductSearch& search) {
    return raised_by([&] { find_products(search); }).Number;
  };
  ProductSearch search;
  search.limit = 0;
  EXPECT_EQ(number_raised(search), error_number::kInvalidArgument);
  search = {};
  search.offset = -1;
  EXPECT_EQ(number_raised(search), error_number::kInvalidArgument);
  for (const char* after : {"x", "0.", "0.0.0.1", "0.-1.0.1.x", "99999999999.0.0.0.", "1,0,0,1,"}) {
    search = {};
    search.after = after;
    EXPECT_EQ(number_raised(search), error_number::kInvalidArgument) << after;
  }
}

// More than are counted

class FindProductsAmongMany : public SearchTest {
 protected:
  // Products P00001 and so on, each with the word "common", each tenth with "tenth" too.
  void add_many(int count) {
    insert_rows("PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION)", count, [](int number) {
      const std::string digits = std::to_string(100000 + number).substr(1);
      return "N'P" + digits + "', N'common" + (number % 10 == 0 ? " tenth" : "s") + "'";
    });
  }
  static Numbers all_pages(ProductSearch search) {
    Numbers numbers;
    do {
      const FoundProducts page = find_products(search);
      for (const std::string& number : numbers_of(page)) numbers.push_back(number);
      search.after = page.next;
    } while (!search.after.empty());
    return numbers;
  }
};

TEST_F(FindProductsAmongMany, CountsUpToABound) {
  add_many(1000);
  EXPECT_EQ(find("common").total, 1000);
  execute({"INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION) VALUES (N'X', N'common')"});
  EXPECT_EQ(find("common").total, std::nullopt);
  EXPECT_TRUE(find("common").more);
  EXPECT_EQ(find("").total, std::nullopt);
  EXPECT_EQ(find("tenth").total, 100);
}

TEST_F(FindProductsAmongMany, OfMoreThanAreCountedThoseWhoseNumberBeginsWithTheTextStillComeFirst) {
  add_many(1500);
  execute({"INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION) VALUES (N'Common-2', N'x')",
           "INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, BUYFROMPARTNUMBER) VALUES (N'X', N'x', N'common 1')",
           "INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, GTIN) VALUES (N'G', N'x', N'common')",
           "INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION) VALUES (N'COMMON', N'x')"});
  ProductSearch search;
  search.text = "common";
  search.limit = 6;
  // The word that is whole in the description stands before the one that is a part.
  EXPECT_EQ(numbers_of(find_products(search)), (Numbers{"COMMON", "G", "Common-2", "X", "P00010", "P00020"}));
}

TEST_F(FindProductsAmongMany, PagesTellEachOfMoreThanAreCountedOnce) {
  add_many(2300);
  execute({"INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION) VALUES (N'common', N'x')"});
  ProductSearch search;
  search.text = "common";
  search.limit = 190;
  const Numbers by_place = all_pages(search);
  EXPECT_EQ(by_place.size(), 2301U);
  EXPECT_EQ(std::set<std::string>(by_place.begin(), by_place.end()).size(), 2301U);
  EXPECT_EQ(by_place.front(), "common");
  EXPECT_EQ(by_place[1], "P00010");
  EXPECT_EQ(by_place[101], "P00001");
  EXPECT_EQ(by_place.back(), "P02300");
  Numbers by_offset;
  for (bool more = true; more; search.offset += search.limit) {
    const FoundProducts page = find_products(search);
    for (const std::string& number : numbers_of(page)) by_offset.push_back(number);
    more = page.more;
  }
  EXPECT_EQ(by_offset, by_place);
  search.offset = 0;
  search.text = "";
  EXPECT_EQ(all_pages(search).size(), 2301U);
}

// By the index and by reading

TEST_F(FindProductsAmongMany, IsTheSameByReading) {
  add_many(1500);
  add_product("KT-INS 114.DRE", "common tenth insulator", "MFRPARTNUMBER", "N'4711'");
  execute({"UPDATE PRODUCT SET PRODUCTDESCRIPTION = N'rare Caf\u00E9' WHERE PRODUCTID = 700"});
  ProductSearch search;
  search.limit = 2000;
  std::vector<Numbers> by_index;
  const std::vector<std::string> texts = {"common", "tenth",          "ktins", "caf\u00E9 RARE",
                                          "00012",  "common tenth 1", "47",    "zz"};
  for (const std::string& text : texts) {
    search.text = text;
    by_index.push_back(numbers_of(find_products(search)));
  }
  EXPECT_EQ(by_index[0].size(), 1500U);
  EXPECT_EQ(by_index[3], (Numbers{"P00700"}));
  drop_text_index();
  for (std::size_t place = 0; place < texts.size(); ++place) {
    search.text = texts[place];
    EXPECT_EQ(numbers_of(find_products(search)), by_index[place]) << texts[place];
  }
}

}  // namespace
}  // namespace mercato::test
