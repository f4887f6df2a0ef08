// SPDX-License-Identifier: Apache-2.0
#include "keeping/price_keeping.h"

#include <charconv>
#include <limits>

#include "frame/lib_general.h"
#include "frame/lib_sql.h"
#include "frame/util.h"
#include "keeping/store_calls.h"
#include "mercato/raised_error.h"
#include "values/text.h"

namespace mercato::keeping {
namespace {

__extension__ using Wide = __int128;  // a price times a factor has more digits than 64 bits hold

constexpr std::int64_t kTenThousandthsOfAll = 1'000'000;  // of a percent, in 100 percent

Sql of_lines(const Sql& products, const PriceLineChoice& choice) {
  Sql sql = Sql(" FROM CATALOGPRODUCTPRICE WHERE PRODUCTID IN ") << products;
  if (choice.group) {
    if (choice.group->empty())
      sql << " AND (GROUPBY = N'' OR GROUPBY IS NULL)";
    else
      sql << " AND GROUPBY = N'" << value(Gen_QuoteSql(*choice.group)) << "'";
  }
  if (!choice.currency.empty()) sql << " AND CURRENCYCODE = N'" << value(Gen_QuoteSql(choice.currency)) << "'";
  if (choice.from) sql << " AND PRICEEFFECTIVEDATE = " << value(GetSqlLiterals().DateTimeToSql(*choice.from));
  if (choice.to_quantity) sql << " AND QUANTITYTO = " << *choice.to_quantity;
  if (choice.holding_on)
    sql << " AND (PRICEEXPIRYDATE >= " << value(GetSqlLiterals().DateTimeToSql(*choice.holding_on))
        << " OR PRICEEXPIRYDATE IS NULL)";
  return sql;
}

// The lines of one key. Null and the empty text are two groups here.
Sql with_key(std::int32_t product, const DictionaryPtr& line, const Variant& group) {
  Sql sql =
      Sql(" WHERE PRODUCTID = ") << product << " AND PRICEEFFECTIVEDATE = "
                                 << value(GetSqlLiterals().DateTimeToSql(line->Item("PRICEEFFECTIVEDATE").to_date()))
                                 << " AND QUANTITYTO = " << line->Item("QUANTITYTO").to_double();
  if (group.is_null())
    sql << " AND GROUPBY IS NULL";
  else
    sql << " AND GROUPBY = N'" << value(Gen_QuoteSql(group.to_text())) << "'";
  return sql;
}

Variant group_of(const DictionaryPtr& line) { return line->Exists("GROUPBY") ? line->Item("GROUPBY") : Variant(kNull); }

void add_price_line(std::int32_t product, const DictionaryPtr& line) {
  std::vector<Variant> fields;
  std::vector<Variant> values;
  line->for_each([&](const Variant& field, const Variant& value) {
    const std::string name = field.to_text();
    if (value.is_null() || name == "PRODUCTID" || name == "PRICEEFFECTIVEDATE" || name == "QUANTITYTO") return;
    fields.push_back(field);
    values.push_back(value);
  });
  call_library("Mercato.Product", "InsertPrice",
               {product, line->Item("PRICEEFFECTIVEDATE"), line->Item("QUANTITYTO"), Array(std::move(fields)),
                Array(std::move(values))});
  // The library writes the empty group as Null, where a document of prices would not find the line.
  const Variant group = group_of(line);
  if (!group.is_null() && group.to_text().empty())
    run_statement(Sql("UPDATE CATALOGPRODUCTPRICE SET GROUPBY = N''") << with_key(product, line, kNull));
}

PriceLineKeyWords key_of(const Recordset& line) {
  return {line.Value("PRODUCTID").to_long(), line.Value("PRICEEFFECTIVEDATE").to_date(),
          line.Value("QUANTITYTO").to_double(), line.Value("GROUPBY").text_or_empty(),
          line.Value("CURRENCYCODE").text_or_empty()};
}

// Visits the lines, which may be changed. Those of a list of products are in memory at a time.
void for_each_line(std::span<const std::int32_t> products, const PriceLineChoice& choice,
                   const std::function<void(Recordset&)>& visit) {
  const ConnectionPtr connection = open_connection(shared_connection_string());
  for_each_list(products, [&](const Sql& list) {
    const RecordsetPtr lines = open_updatable(
        Sql("SELECT *") << of_lines(list, choice) << " ORDER BY PRODUCTID, PRICEEFFECTIVEDATE, QUANTITYTO, GROUPBY",
        connection, CursorType::keyset);
    for (; !lines->Eof(); lines->MoveNext()) visit(*lines);
    lines->Close();
  });
  connection->Close();
}

}  // namespace

std::size_t count_price_lines(std::span<const std::int32_t> products, const PriceLineChoice& choice) {
  std::size_t count = 0;
  for_each_list(products,
                [&](const Sql& list) { count += count_by(Sql("SELECT COUNT(*) AS N") << of_lines(list, choice)); });
  return count;
}

std::size_t delete_price_lines(std::span<const std::int32_t> products, const PriceLineChoice& choice) {
  std::size_t count = 0;
  for_each_list(products, [&](const Sql& list) {
    count += static_cast<std::size_t>(run_statement(Sql("DELETE") << of_lines(list, choice)));
  });
  return count;
}

bool replace_price_line(std::int32_t product, const DictionaryPtr& before, const DictionaryPtr& after) {
  if (before &&
      run_statement(Sql("DELETE FROM CATALOGPRODUCTPRICE") << with_key(product, before, group_of(before))) == 0)
    return false;
  if (after) add_price_line(product, after);
  return true;
}

std::optional<Percentage> parse_percentage(std::string_view text) {
  text = text::trim(text);
  if (text.ends_with('%')) text = text::trim(text.substr(0, text.size() - 1));
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) text.remove_prefix(1);
  const std::size_t point = text.find('.');
  const std::string_view whole = text.substr(0, point);
  std::string decimals(point == std::string_view::npos ? std::string_view() : text.substr(point + 1));
  constexpr std::size_t kDecimals = 4;
  constexpr std::size_t kMostDigits = 6;
  if (whole.empty() || whole.size() > kMostDigits || decimals.size() > kDecimals ||
      (point != std::string_view::npos && decimals.empty()))
    return std::nullopt;
  decimals.append(kDecimals - decimals.size(), '0');
  const std::string digits = std::string(whole) + decimals;
  if (digits.find_first_not_of("0123456789") != std::string::npos) return std::nullopt;
  Percentage percentage;
  std::from_chars(digits.data(), digits.data() + digits.size(), percentage.ten_thousandths);
  if (negative) percentage.ten_thousandths = -percentage.ten_thousandths;
  if (percentage.ten_thousandths <= -kTenThousandthsOfAll) return std::nullopt;
  return percentage;
}

Currency changed_by(Currency amount, Percentage by, int decimals) {
  std::int64_t unit = Currency::kScale;  // the least step, in parts of one
  for (int decimal = 0; decimal < decimals; ++decimal) unit /= 10;
  const Wide exact = static_cast<Wide>(amount.scaled()) * (kTenThousandthsOfAll + by.ten_thousandths);
  const Wide step = static_cast<Wide>(kTenThousandthsOfAll) * unit;
  const Wide half = exact < 0 ? -step / 2 : step / 2;
  const Wide rounded = (exact + half) / step * unit;
  if (rounded > std::numeric_limits<std::int64_t>::max() || rounded < std::numeric_limits<std::int64_t>::min())
    raise(error_number::kOverflow);
  return Currency::from_scaled(static_cast<std::int64_t>(rounded));
}

PriceChange change_prices(std::span<const std::int32_t> products, const PriceLineChoice& choice, Percentage by,
                          int decimals, bool for_real, const std::function<void(const ChangedPrice&)>& told) {
  PriceChange done;
  for_each_line(products, choice, [&](Recordset& line) {
    const Variant price = line.Value("PRICE");
    if (price.is_null()) {
      ++done.priceless;
      return;
    }
    const Currency before = price.to_currency();
    const Currency after = changed_by(before, by, decimals);
    if (after == before) {
      ++done.same;
      return;
    }
    ++done.changed;
    told({key_of(line), before, after});
    if (!for_real) return;
    line.SetValue("PRICE", after);
    line.Update();
  });
  return done;
}

PriceEnd end_prices(std::span<const std::int32_t> products, const PriceLineChoice& choice, Date on, bool for_real) {
  PriceEnd done;
  for_each_line(products, choice, [&](Recordset& line) {
    const Variant expiry = line.Value("PRICEEXPIRYDATE");
    if (line.Value("PRICEEFFECTIVEDATE").to_date() > on) {
      ++done.later;
      return;
    }
    if (!expiry.is_null() && expiry.to_date() <= on) {
      ++done.over;
      return;
    }
    ++done.ended;
    if (!for_real) return;
    line.SetValue("PRICEEXPIRYDATE", on);
    line.Update();
  });
  return done;
}

}  // namespace mercato::keeping
