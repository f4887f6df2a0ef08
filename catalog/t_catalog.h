// The catalogue, writing half: so far the product categories. Requires a transaction and votes on it: commit when a
// method succeeds; a failure closes what the method opened, votes abort, and is logged and raised under a label of the
// reading half, "Mercato.Catalog." and the method's name. Every method may raise what the store raises. One object
// serves one call at a time; nothing is kept between calls.
//
// Field/value arrays: column names, in any case, and values with the same bounds; Empty and the empty text are written
// as Null, a blank stays a blank. Raise 13 for what is no array, 9 when there are fewer values than fields, 0x800A0CC1
// for a name that is no column, 13, 6 or 94 for a value that the column cannot take.
#pragma once

#include <cstdint>

#include "frame/component.h"
#include "frame/connection.h"

namespace mercato {

class TCatalog : public ComponentOf<TCatalog> {
 public:
  static const ClassTable& table();

  // A new category; true. Links the products of its UNSPSC code when UNSPSCIMPLEMENTED is "Yes".
  bool InsertProductCategory(const Variant& i_aFields, const Variant& i_aValues);
  // Changes the category named by the first CATEGORYID among the fields; true. Raises eProductCategoryNotFound, source
  // "Mercato.Catalog.UpdateProductCategory"; without a CATEGORYID it looks for category 0. Updates the product links
  // when UNSPSCIMPLEMENTED is "Yes", as if the code had been cleared when UNSPSCCODE is not among the fields.
  bool UpdateProductCategory(const Variant& i_aFields, const Variant& i_aValues);
  // Deletes a category with its visibilities, its product links and the catalogue nodes that point at it, whatever
  // their type; true. Children of those nodes stay. False, with an abort vote and nothing raised or logged, when the
  // checker refuses. Raises eCatalogNotFound, source "Mercato.Catalog.Delete", when there is no such category.
  bool DeleteProductCategory(std::int32_t iCategoryID);

  // True at every call; votes commit.
  bool IReferentialIntegrity_BeforeDelete(const Variant& i_vUnread, const Array& iFields, const Array& iValues);
  // Whether the first field and value, CATEGORYID or BUSINESSPARTNERID in any case, are those of a category or of a
  // partner's node. False for empty arrays. Another name is refused by the store. The value goes into the statement as
  // it stands. Logged under "Mercato.Catalog.Exists".
  bool IReferentialIntegrity_Exists(const Variant& i_vUnread, const Array& iFields, const Array& iValues);

 private:
  static ConnectionPtr GetConnection();
};

}  // namespace mercato
