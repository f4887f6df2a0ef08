// SPDX-License-Identifier: Apache-2.0
#include "platform/store/odbc/odbc_text.h"

#include <gtest/gtest.h>

#include "mercato/raised_error.h"
#include "tests/platform/failure_of.h"

namespace mercato::store::odbc {
namespace {

TEST(OdbcText, GoesToUtf16AndBackBeyondTheBasicPlane) {
  struct Case {
    const char* text;
    std::u16string units;
  };
  for (const Case& each : {Case{"", u""},
                           {"bolt", u"bolt"},
                           {"\u00E4\u07FF", u"\u00E4\u07FF"},
                           {"\u0800\u20AC\uFFFF", u"\u0800\u20AC\uFFFF"},
                           {"a\U00010000b\U0010FFFF",
                            u"a\xD800\xDC00"
                            u"b\xDBFF\xDFFF"}}) {
    EXPECT_EQ(wide(each.text), each.units) << each.text;
    EXPECT_EQ(narrow(each.units), each.text) << each.text;
  }
}

TEST(OdbcText, ThatIsHalfACharacterIsTheMarkForOne) {
  EXPECT_EQ(narrow(u"a\xD800"), "a\uFFFD");
  EXPECT_EQ(narrow(u"\xDC00x"), "\uFFFDx");
  EXPECT_EQ(narrow(u"\xD800\xD800\xDC00"), "\uFFFD\U00010000");
}

TEST(OdbcText, ThatHasAZeroInItIsRefused) {
  const RaisedError failure = mercato::test::failure_of([] { wide(std::string_view("a\0b", 3)); });
  EXPECT_EQ(failure.Number, error_number::kStatementRefused);
  EXPECT_EQ(failure.Description, "The store refused the statement: a text with the character U+0000 cannot be kept");
}

TEST(OdbcText, ThatIsNoUtf8IsRefused) {
  const RaisedError failure = mercato::test::failure_of([] { wide("a\xC3"); });
  EXPECT_EQ(failure.Number, error_number::kStatementRefused);
  EXPECT_EQ(failure.Source, "ODBC store");
  EXPECT_EQ(failure.Description, "The store refused the statement: a text that is not UTF-8 cannot be kept");
}

}  // namespace
}  // namespace mercato::store::odbc
