// SPDX-License-Identifier: Apache-2.0
// What is no standard field is a property: its name and value go to PROPERTY and PRODUCTPROPVALUE. A name that is not
// known becomes an external property for texts. The values go into the statements as they stand: one with an apostrophe
// breaks its statement, and the store refuses it.
#include "frame/lib_general.h"
#include "frame/method.h"
#include "frame/tails.h"
#include "frame/upload_run.h"
#include "frame/util.h"
#include "upload/product_writing.h"
#include "values/text.h"

namespace mercato::upload {
namespace {

enum PropertyType : std::int16_t { kText = 1, kNumber = 2, kEnumeration = 3, kDate = 4 };

struct Property {
  std::int32_t id;
  std::int16_t type;
};

// The value to store: one that does not fit the type is stored as an empty text, and never fails.
std::string getValidPropertyValue(const Variant& value, std::int16_t type) {
  if (value.is_null()) return {};
  switch (type) {
    case kText:
    case kEnumeration:
      return value.to_text();
    case kNumber:
      return value.is_numeric() ? value.to_text() : std::string();
    case kDate:
      return IsValidUSDate(value.to_text()) ? value.to_text() : std::string();
    default:
      return {};
  }
}

Property property_of(const RecordsetPtr& rows) {
  return {rows->Value("PROPERTYID").to_long(), rows->Value("DATATYPE").to_short()};
}

Property create_property(const std::string& name, const ConnectionPtr& connection) {
  const RecordsetPtr row =
      open_updatable(LiteralPiece("SELECT * FROM PROPERTY WHERE 0=1"), connection, CursorType::keyset);
  row->AddNew();
  row->SetValue("PROPERTYNAME", name);
  row->SetValue("DATATYPE", std::int16_t{kText});
  row->SetValue("EXTERNAL", true);
  row->Update();
  return {row->Value("PROPERTYID").to_long(), kText};
}

Sql product_id_by(const std::string& part_number) {
  return Sql("SELECT PRODUCTID FROM PRODUCT WHERE BUYFROMPARTNUMBER='") << value(Gen_QuoteSql(part_number)) << "'";
}

Sql property_by_name(const std::string& name) {
  return Sql("SELECT PROPERTY.PROPERTYID, PROPERTY.DATATYPE FROM PROPERTY WHERE PROPERTY.PROPERTYNAME = '")
         << value(Gen_QuoteSql(name)) << "'";
}

Sql value_by_name(std::int32_t product_id, const std::string& name) {
  return Sql("SELECT PROPERTY.PROPERTYID, VALUE, EXTERNAL , DATATYPE "
             "FROM PRODUCTPROPVALUE INNER JOIN PROPERTY ON PRODUCTPROPVALUE.PROPERTYID = PROPERTY.PROPERTYID "
             "WHERE (PRODUCTPROPVALUE.PRODUCTID = ")
         << product_id << ") AND (PROPERTY.PROPERTYNAME = '" << value(Gen_QuoteSql(name)) << "')";
}

// The insert path writes the value of a known property without blanks, every other insert has them.
Sql close_value_insert(std::int32_t property_id, std::int32_t product_id, const std::string& text) {
  return Sql("INSERT PRODUCTPROPVALUE (\"PROPERTYID\", \"PRODUCTID\", \"VALUE\") VALUES(")
         << property_id << "," << product_id << ",'" << value(text) << "')";
}
Sql spaced_value_insert(std::int32_t property_id, std::int32_t product_id, const std::string& text) {
  return Sql("INSERT PRODUCTPROPVALUE (\"PROPERTYID\", \"PRODUCTID\", \"VALUE\") VALUES (")
         << property_id << " ," << product_id << " ,'" << value(text) << "')";
}

Sql value_update(std::int32_t property_id, std::int32_t product_id, const std::string& text) {
  return Sql("UPDATE PRODUCTPROPVALUE SET VALUE = '")
         << value(text) << "' WHERE PROPERTYID=" << property_id << " AND PRODUCTID=" << product_id;
}

std::int32_t first_product_id(const Sql& sql, const ConnectionPtr& connection) {
  RecordsetPtr rows = open_read_only(sql, connection);
  const std::int32_t product_id = rows->Value("PRODUCTID").to_long();  // 3021 without a product
  Sql_CloseRecordset(rows);
  return product_id;
}

// The names of properties, for those who look ahead; else none.
std::vector<std::string> names_ahead(const Dictionary& properties) {
  std::vector<std::string> names;
  if (!StoreRun::looks_ahead()) return names;
  for (const Variant& key : properties.Keys().items)
    if (!text::equal_names(key.text_value(), kSeparatorKey)) names.push_back(key.text_value());
  return names;
}

// What the next property begins with goes out with the write of this one.
class NextProperty {
 public:
  explicit NextProperty(const Dictionary& properties) : names_(names_ahead(properties)) {}
  // `query`: what the property of a name is looked up by.
  template <class Query>
  void foresee(Query query) {
    if (++begun_ >= names_.size()) return;
    const Sql next[] = {query(names_[begun_])};
    StoreRun::foresee(next);
  }

 private:
  std::vector<std::string> names_;
  std::size_t begun_ = 0;
};

template <class Write>
void for_each_property(const Dictionary& properties, Write write) {
  properties.for_each([&](const Variant& key, const Variant& item) {
    const std::string& name = key.text_value();
    if (!text::equal_names(name, kSeparatorKey)) write(name, item);
  });
}

void execute_on_new_connection(const Sql& sql) {
  ConnectionPtr connection = GetConnection();
  connection->Execute(sql);
  Sql_CloseConnection(connection);
}

}  // namespace

void ProductWriter::foresee_properties(const Dictionary& properties, const std::string& iBuyFromPartNr) {
  const std::vector<std::string> names = names_ahead(properties);
  if (names.empty()) return;
  const Sql next[] = {product_id_by(iBuyFromPartNr), property_by_name(names.front())};
  StoreRun::foresee(next);
}

void ProductWriter::insertProductProperties(const Dictionary& properties, const std::string& iBuyFromPartNr) {
  Opened opened;
  return method(
      [&] {
        opened.connection = GetConnection();
        const std::int32_t product_id = first_product_id(product_id_by(iBuyFromPartNr), opened.connection);
        Sql_CloseConnection(opened.connection);

        NextProperty next(properties);
        for_each_property(properties, [&](const std::string& property_name, const Variant& item) {
          opened.connection = GetConnection();
          opened.rows = open_read_only(property_by_name(property_name), opened.connection);
          const bool known = !opened.rows->Eof();
          const Property property = known ? property_of(opened.rows) : create_property(property_name, GetConnection());
          // Before the write, for which the store would have to keep the rest of the rows.
          opened.close();
          const std::string stored = getValidPropertyValue(item, property.type);
          next.foresee(property_by_name);
          execute_on_new_connection(known ? close_value_insert(property.id, product_id, stored)
                                          : spaced_value_insert(property.id, product_id, stored));
        });
      },
      Tail{"Mercato.ProductXML.insertProductProperties", closing(opened)});
}

void ProductWriter::updateProductProperties(const Dictionary& properties, const std::string& iBuyFromPartNr) {
  Opened opened;
  return method(
      [&] {
        const std::int32_t product_id = first_product_id(product_id_by(iBuyFromPartNr), read_connection_.get());

        NextProperty next(properties);
        const auto query = [product_id](const std::string& name) { return value_by_name(product_id, name); };
        for_each_property(properties, [&](const std::string& property_name, const Variant& item) {
          opened.connection = GetConnection();
          opened.rows = open_read_only(value_by_name(product_id, property_name), opened.connection);
          if (!opened.rows->Eof()) {
            const Property property = property_of(opened.rows);
            next.foresee(query);
            execute_on_new_connection(
                value_update(property.id, product_id, getValidPropertyValue(item, property.type)));
          } else {
            opened.close();
            opened.connection = GetConnection();
            opened.rows = opened.connection->Execute(property_by_name(property_name));
            const Property property =
                opened.rows->Eof() ? create_property(property_name, GetConnection()) : property_of(opened.rows);
            next.foresee(query);
            execute_on_new_connection(
                spaced_value_insert(property.id, product_id, getValidPropertyValue(item, property.type)));
          }
          opened.close();
        });
      },
      Tail{"Mercato.ProductXML.updateProductProperties", closing(opened)});
}

}  // namespace mercato::upload
