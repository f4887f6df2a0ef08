// SPDX-License-Identifier: Apache-2.0
// Price lines: writing them, listing them, and the price that holds for a date or a quantity.
#include <array>
#include <string_view>

#include "frame/contracts.h"
#include "frame/util.h"
#include "product/holding_line.h"
#include "product/product_internal.h"
#include "records/price_line.h"

namespace mercato {

using product::IsDefaultDouble;
using product::NullToCurrency;

namespace {

struct PriceAttribute {
  std::string_view column;
  bool is_amount;  // in the line's currency; the others are percentages
};
constexpr std::array<PriceAttribute, 5> kPriceAttributes = {{{"PRICE", true},
                                                             {"DISCOUNTPERC", false},
                                                             {"DISCOUNTAMOUNT", true},
                                                             {"PRICETAXPERCENTAGE", false},
                                                             {"FREIGHTCOST", true}}};

// FREIGHTCOST is not listed.
constexpr std::array<std::string_view, 10> kListedColumns = {
    "PRODUCTID",    "PRICEEFFECTIVEDATE", "CURRENCYCODE",       "PRICEEXPIRYDATE", "PRICE",
    "DISCOUNTPERC", "DISCOUNTAMOUNT",     "PRICETAXPERCENTAGE", "QUANTITYTO",      "GROUPBY"};

enum class Lines { all, without_group };

constexpr LiteralPiece kPricedColumns(
    "CURRENCYCODE, PRICE, DISCOUNTPERC, DISCOUNTAMOUNT, PRICETAXPERCENTAGE, FREIGHTCOST");

Sql lines_that_hold(LiteralPiece columns, Lines lines, std::int32_t product_id, Date at, double quantity) {
  const std::string date = GetSqlLiterals().DateTimeToSql(at);
  Sql sql = Sql("SELECT ") << columns << " FROM CATALOGPRODUCTPRICE WHERE PRODUCTID=" << product_id << " AND ";
  if (lines == Lines::without_group) sql << "(GROUPBY='' OR GROUPBY IS NULL) AND ";
  if (!IsDefaultDouble(quantity))
    sql << "PRICEEFFECTIVEDATE<=" << value(date) << " AND (PRICEEXPIRYDATE>=" << value(date)
        << " OR PRICEEXPIRYDATE IS NULL) AND QUANTITYTO>=" << quantity << " ORDER BY QUANTITYTO";
  else  // The quotes behind the dates have no partner: the store refuses every call without a quantity.
    sql << "PRICEEFFECTIVEDATE<=" << value(date) << "' AND (PRICEEXPIRYDATE>=" << value(date)
        << "' OR PRICEEXPIRYDATE IS NULL)";
  return sql;
}

DictionaryPtr no_price() {
  auto attributes = std::make_shared<Dictionary>();
  for (const PriceAttribute& attribute : kPriceAttributes) attributes->Add(attribute.column, std::int16_t{0});
  return attributes;
}

DictionaryPtr price_of(const Recordset& line, const std::string& currency, Date date) {
  auto attributes = std::make_shared<Dictionary>();
  zentrik::Currency converter;
  const std::string currency_of_line = line.Value("CURRENCYCODE").to_text();
  for (const auto& [column, is_amount] : kPriceAttributes) {
    const Currency number = NullToCurrency(line.Value(column));
    attributes->Add(column, is_amount ? converter.ConvertAmount(currency_of_line, currency, number, date) : number);
  }
  return attributes;
}

// PRICE of the first row. Without a row it raises eProductIdNotFound, with the label as the source.
template <class Open>
double first_price(std::string_view label, Open open, const Sql& sql) {
  return read_row_and_vote(label, CursorType::forward_only, open, sql,
                           {eProductIdNotFound, label, "ProductId not found"},
                           [](const Recordset& line) { return line.Value("PRICE").to_double(); });
}

}  // namespace

bool Product::InsertUpdatePrice(std::int32_t iProductID, Date iPriceEffDate, double iQuantityTo, const Array& iFields,
                                const Array& iValues, const std::string& iAction) {
  Opened opened;
  return method(
      [&] {
        const Variant currency = Gen_Lookup("CURRENCYCODE", iFields, iValues);
        grundwerk::ReferentialChecker checker;
        if (!checker.CheckReferences("CATALOGPRODUCTPRICE", Array{"CURRENCYCODE"}, Array{currency}))
          raise(kInvalidReference, "",
                "The catalog product price record you are trying to insert has an invalid reference to another "
                "record");
        opened.connection = GetConnection();
        write_price_line(kPriceLineOfProduct, price_line_action(iAction),
                         {iProductID, iPriceEffDate, iQuantityTo, GroupBy}, iFields, iValues, opened);
        opened.close();
        Mts_SetComplete();
        return true;
      },
      Tail{"Mercato.Product.InsertUpdatePrice", closing_and_aborting(opened)});
}

bool Product::InsertPrice(std::int32_t iProductID, Date iPriceEffDate, double iQuantityTo, const Array& iFields,
                          const Array& iValues) {
  return InsertUpdatePrice(iProductID, iPriceEffDate, iQuantityTo, iFields, iValues, "insert");
}

bool Product::UpdatePrice(std::int32_t iProductID, Date iPriceEffDate, double iQuantityTo, const Array& iFields,
                          const Array& iValues) {
  return InsertUpdatePrice(iProductID, iPriceEffDate, iQuantityTo, iFields, iValues, "update");
}

bool Product::InsertUpdatePriceEx(std::int32_t i_lProductID, Date i_dPriceEffDate, double i_fQuantityTo,
                                  const std::string& i_sGroupBy, const Array& i_vFields, const Array& i_vValues,
                                  const std::string& i_sAction) {
  // A failure leaves the group behind: the object's later calls look for lines of that group.
  GroupBy = i_sGroupBy;
  const bool written = InsertUpdatePrice(i_lProductID, i_dPriceEffDate, i_fQuantityTo, i_vFields, i_vValues, i_sAction);
  GroupBy.clear();
  return written;
}

DictionaryPtr Product::getCatalogPriceAttributes(std::int32_t i_lProductID, Date i_dDate,
                                                 const std::string& i_sCurrencyCode, double i_fQuantity) {
  Opened opened;
  return method(
      [&] {
        opened.connection = GetReadConnection();
        opened.rows = open_read_only(lines_that_hold(kPricedColumns, Lines::all, i_lProductID, i_dDate, i_fQuantity),
                                     opened.connection);
        if (opened.rows->Eof()) {
          // Narrower than the first statement, so it finds nothing either.
          Sql_CloseRecordset(opened.rows);
          opened.rows =
              open_read_only(lines_that_hold(kPricedColumns, Lines::without_group, i_lProductID, i_dDate, i_fQuantity),
                             opened.connection);
        }
        DictionaryPtr attributes = opened.rows->Eof() ? no_price() : price_of(*opened.rows, i_sCurrencyCode, i_dDate);
        opened.close();
        Mts_SetComplete();
        return attributes;
      },
      Tail{"Mercato.Product.getCatalogPriceAttributes", closing_and_aborting(opened)});
}

DictionaryPtr Product::getCatalogPriceAttributesEx(std::int32_t i_lProductID, Date i_dDate,
                                                   const std::string& i_sCurrencyCode, double i_fQuantity,
                                                   const std::string& i_sGroupBy) {
  // As above, a failure leaves the group behind.
  GroupBy = i_sGroupBy;
  DictionaryPtr attributes = getCatalogPriceAttributes(i_lProductID, i_dDate, i_sCurrencyCode, i_fQuantity);
  GroupBy.clear();
  return attributes;
}

DictionaryPtr product::line_that_holds(std::int32_t product_id, Date at, double quantity) {
  const ConnectionPtr connection = open_connection(shared_connection_string());
  const RecordsetPtr rows = open_read_only(lines_that_hold("*", Lines::all, product_id, at, quantity), connection);
  DictionaryPtr line = rows->Eof() ? nullptr : Sql_GetRecordAsDictionary(rows);
  rows->Close();
  return line;
}

DictionaryPtr Product::GetProductPriceLines(std::int32_t iProductID) {
  return product::numbered_rows("Mercato.Product.GetProductPriceLines", GetReadConnection,
                                Sql("SELECT * FROM CATALOGPRODUCTPRICE WHERE PRODUCTID=") << iProductID,
                                kListedColumns);
}

double Product::GetPriceFromPriceLines(std::int32_t i_lProductID, double i_fQuantity) {
  const Sql sql = Sql("SELECT PRICE, QUANTITYTO FROM CATALOGPRODUCTPRICE"
                      " WHERE PRODUCTID =")
                  << i_lProductID << " AND QUANTITYTO <= " << i_fQuantity << " ORDER BY QUANTITYTO DESC";
  return first_price("Mercato.Product.GetPriceFromPriceLines", GetReadConnection, sql);
}

double Product::GetPriceFromPriceLinesByGroup(std::int32_t i_lProductID, const std::string& i_sGroupBy) {
  const Sql sql = Sql("SELECT PRICE, GROUPBY FROM CATALOGPRODUCTPRICE"
                      " WHERE PRODUCTID =")
                  << i_lProductID << " AND GROUPBY = " << value(i_sGroupBy) << " ORDER BY GROUPBY DESC";
  return first_price("Mercato.Product.GetPriceFromPriceLinesByGroup", GetReadConnection, sql);
}

DictionaryPtr Product::getERPPrice(const Variant& /*iBuyer*/, const Variant& /*iContract*/,
                                   const Variant& /*iContractPosition*/, const Variant& /*iSupplierID*/,
                                   const Variant& /*iPartNumber*/, const Variant& /*iQuantity*/,
                                   const Variant& /*iUnit*/, const Variant& /*iPriceDate*/,
                                   const Variant& /*iCurrency*/) {
  return nullptr;
}

}  // namespace mercato
