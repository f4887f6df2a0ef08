// SPDX-License-Identifier: Apache-2.0
#include "keeping/product_resolver.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <set>
#include <string_view>

#include "frame/lib_general.h"
#include "frame/lib_sql.h"
#include "keeping/store_calls.h"
#include "mercato/raised_error.h"
#include "values/text.h"

namespace mercato::keeping {
namespace {

// What the text is, by its prefix. The prefix is cut.
enum class Naming : std::uint8_t { any, id, part_number, supplier_part_number, gtin };

Naming take_prefix(std::string_view& text) {
  struct Prefix {
    std::string_view text;
    Naming naming;
  };
  constexpr Prefix kPrefixes[] = {{"id:", Naming::id},
                                  {"part:", Naming::part_number},
                                  {"supplier:", Naming::supplier_part_number},
                                  {"gtin:", Naming::gtin}};
  for (const Prefix& prefix : kPrefixes)
    if (text::equal_names(text.substr(0, prefix.text.size()), prefix.text)) {
      text.remove_prefix(prefix.text.size());
      return prefix.naming;
    }
  return Naming::any;
}

std::optional<std::int32_t> as_id(std::string_view text) {
  std::int32_t id = 0;
  const auto [end, fault] = std::from_chars(text.data(), text.data() + text.size(), id);
  if (text.empty() || fault != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return id;
}

Sql select_products() {
  return LiteralPiece(
      "SELECT PRODUCTID, PARTNUMBER, BUYFROMPARTNUMBER, GTIN, PRODUCTDESCRIPTION, BUSINESSPARTNERID, DISABLED FROM "
      "PRODUCT WHERE ");
}

NamedProduct read_product(const Recordset& row) {
  NamedProduct product;
  product.id = row.Value(0).to_long();
  product.part_number = row.Value(1).text_or_empty();
  product.supplier_part_number = row.Value(2).text_or_empty();
  product.gtin = row.Value(3).text_or_empty();
  product.description = row.Value(4).text_or_empty();
  if (const Variant& supplier = row.Value(5); !supplier.is_null()) product.supplier = supplier.to_long();
  const Variant& disabled = row.Value(6);
  product.disabled = !disabled.is_null() && disabled.to_long() != 0;
  return product;
}

// So many of the candidates are listed; a user who sees them knows how to go on.
constexpr std::size_t kListed = 10;

std::string listed(const std::vector<NamedProduct>& candidates) {
  std::string list;
  for (std::size_t place = 0; place < std::min(candidates.size(), kListed); ++place) {
    const NamedProduct& product = candidates[place];
    list += (place == 0 ? "id:" : "; id:") + std::to_string(product.id) + ", part number " + product.part_number;
    if (!product.supplier_part_number.empty()) list += ", supplier's number " + product.supplier_part_number;
    list += ", " + product.description;
  }
  if (candidates.size() > kListed) list += "; and " + std::to_string(candidates.size() - kListed) + " more";
  return list;
}

}  // namespace

std::vector<NamedProduct> products_named(const std::string& connection_string, const std::string& text,
                                         const std::optional<std::int32_t>& supplier) {
  std::string_view rest = text;
  const Naming naming = take_prefix(rest);
  const std::string quoted = Gen_QuoteSql(rest);
  const ConnectionPtr connection = open_connection(connection_string);
  std::map<std::int32_t, NamedProduct> found;
  // One statement for each column, so that each goes by the column's index.
  const auto add_those = [&](const Sql& condition) {
    Sql sql = select_products() << condition;
    if (supplier) sql << " AND BUSINESSPARTNERID = " << *supplier;
    const RecordsetPtr rows = open_read_only(sql, connection);
    for (; !rows->Eof(); rows->MoveNext()) {
      NamedProduct product = read_product(*rows);
      found.emplace(product.id, std::move(product));
    }
    rows->Close();
  };
  const auto may_be = [&](Naming which) { return naming == which || naming == Naming::any; };
  if (const auto id = as_id(rest); id && may_be(Naming::id)) add_those(Sql("PRODUCTID = ") << *id);
  if (may_be(Naming::part_number) && !rest.empty()) add_those(Sql("PARTNUMBER = N'") << value(quoted) << "'");
  if (may_be(Naming::supplier_part_number) && !rest.empty())
    add_those(Sql("BUYFROMPARTNUMBER = N'") << value(quoted) << "'");
  if (may_be(Naming::gtin) && !rest.empty()) add_those(Sql("GTIN = N'") << value(quoted) << "'");
  connection->Close();

  std::vector<NamedProduct> products;
  for (auto& [id, product] : found) products.push_back(std::move(product));
  return products;
}

NamedProduct product_named(const std::string& connection_string, const std::string& text,
                           const std::optional<std::int32_t>& supplier) {
  const std::vector<NamedProduct> candidates = products_named(connection_string, text, supplier);
  if (candidates.size() == 1) return candidates.front();
  const std::string of_supplier = supplier ? " of business partner " + std::to_string(*supplier) : "";
  if (candidates.empty()) raise(error_number::kInvalidArgument, {}, "There is no product " + text + of_supplier);
  raise(error_number::kInvalidArgument, {},
        text + " may be " + std::to_string(candidates.size()) + " products" + of_supplier +
            "; name one by its id: " + listed(candidates));
}

std::vector<NamedProduct> products_with(const std::string& connection_string, std::span<const std::int32_t> ids) {
  const ConnectionPtr connection = open_connection(connection_string);
  std::vector<NamedProduct> products;
  for_each_list(ids, [&](const Sql& list) {
    const RecordsetPtr rows = open_read_only(select_products() << "PRODUCTID IN " << list, connection);
    for (; !rows->Eof(); rows->MoveNext()) products.push_back(read_product(*rows));
    rows->Close();
  });
  connection->Close();
  std::ranges::sort(products, {}, &NamedProduct::id);
  return products;
}

ListedProducts products_listed(const std::string& connection_string, const std::string& text,
                               const std::optional<std::int32_t>& supplier) {
  ListedProducts listed;
  std::set<std::int32_t> once;
  std::size_t number = 0;
  for (const std::string& line : text::split(text, "\n")) {
    ++number;
    std::string name(text::trim(line));
    if (name.ends_with('\r')) name = text::trim(name.substr(0, name.size() - 1));
    if (name.empty()) continue;
    try {
      const NamedProduct product = product_named(connection_string, name, supplier);
      if (once.insert(product.id).second) listed.ids.push_back(product.id);
    } catch (const Raised& raised) {
      if (raised.error().Number != error_number::kInvalidArgument) throw;
      listed.faults.push_back({number, raised.error().Description});
    }
  }
  return listed;
}

std::int32_t supplier_named(const std::string& connection_string, const std::string& text) {
  const ConnectionPtr connection = open_connection(connection_string);
  Sql sql = Sql("SELECT BUSINESSPARTNERID FROM BUSINESSPARTNER WHERE BUSINESSID = N'")
            << value(Gen_QuoteSql(text)) << "'";
  if (const auto id = as_id(text)) sql << " OR BUSINESSPARTNERID = " << *id;
  const RecordsetPtr rows = open_read_only(sql, connection);
  std::vector<std::int32_t> ids;
  for (; !rows->Eof(); rows->MoveNext()) ids.push_back(rows->Value(0).to_long());
  rows->Close();
  connection->Close();
  if (ids.empty()) raise(error_number::kInvalidArgument, {}, "There is no business partner " + text);
  if (ids.size() > 1)
    raise(error_number::kInvalidArgument, {},
          text + " is the id of one business partner and the BUSINESSID of another; name it by the other of the two");
  return ids.front();
}

}  // namespace mercato::keeping
