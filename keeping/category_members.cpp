// SPDX-License-Identifier: Apache-2.0
#include "keeping/category_members.h"

#include "classification/unspsc_code.h"
#include "frame/lib_general.h"
#include "keeping/store_calls.h"
#include "records/unspsc_links.h"

namespace mercato::keeping {
namespace {

std::size_t count_products_below(const std::string& code) {
  return count_by(Sql("SELECT COUNT(*) AS N FROM PRODUCT WHERE UNSPSCCODE LIKE N'")
                  << value(Gen_EscapeLike(code)) << "%'");
}

}  // namespace

std::size_t add_to_category(std::int32_t category, std::span<const std::int32_t> products) {
  const std::vector<DictionaryPtr> last =
      rows_of(Sql("SELECT MAX(SEQUENCE) AS PLACE FROM PRODUCTSBYCATEGORY WHERE CATEGORYID = ") << category);
  const Variant& place = last.front()->Item("PLACE");
  std::int32_t next = place.is_null() ? 0 : place.to_long();
  std::size_t added = 0;
  for (const std::int32_t product : products) {
    if (count_by(Sql("SELECT COUNT(*) AS N FROM PRODUCTSBYCATEGORY WHERE PRODUCTID = ")
                 << product << " AND CATEGORYID = " << category) > 0)
      continue;
    run_statement(Sql("INSERT INTO PRODUCTSBYCATEGORY (PRODUCTID, CATEGORYID, SEQUENCE) VALUES (")
                  << product << ", " << category << ", " << ++next << ")");
    ++added;
  }
  return added;
}

std::size_t remove_from_category(std::int32_t category, std::span<const std::int32_t> products) {
  std::size_t removed = 0;
  for_each_list(products, [&](const Sql& list) {
    removed += static_cast<std::size_t>(run_statement(Sql("DELETE FROM PRODUCTSBYCATEGORY WHERE CATEGORYID = ")
                                                      << category << " AND PRODUCTID IN " << list));
  });
  return removed;
}

std::size_t count_products_of(std::int32_t category) {
  return count_by(Sql("SELECT COUNT(*) AS N FROM PRODUCTSBYCATEGORY WHERE CATEGORYID = ") << category);
}

std::optional<LinkedByCode> linked_by_code(const std::string& code) {
  if (code.empty() || !unspsc_links_wanted()) return std::nullopt;
  LinkedByCode linked;
  linked.products = count_products_below(code);
  const std::string shorter = unspsc::without_zero_pairs(code);
  if (shorter == code) return linked;
  if (const std::size_t more = count_products_below(shorter); more > linked.products) {
    linked.shorter_code = shorter;
    linked.products_of_shorter = more;
  }
  return linked;
}

}  // namespace mercato::keeping
