// SPDX-License-Identifier: Apache-2.0
// The questions of the reference checker, and the deletion and hiding of products.
#include <array>
#include <string_view>

#include "frame/contracts.h"
#include "frame/file_access.h"
#include "product/product_internal.h"
#include "values/text.h"

namespace mercato {

namespace {

enum class ValueForm { as_it_stands, quoted, like };

// Where the tables of products may refer to a row of another table. The field that holds its key is written in
// capitals.
struct UsesOfField {
  std::string_view field;
  ValueForm form;
  std::array<LiteralPiece, 3> statements;  // up to the condition; empty ones are not asked
};
constexpr UsesOfField kUses[] = {
    {"BUSINESSPARTNERID", ValueForm::as_it_stands, {"SELECT BUSINESSPARTNERID FROM PRODUCT WHERE ", "", ""}},
    {"OFFICEDESCRIPTION", ValueForm::quoted, {"SELECT OFFICEDESCRIPTION FROM CONTRACTLINES WHERE ", "", ""}},
    {"CURRENCYCODE", ValueForm::quoted, {"SELECT PRODUCTID FROM CATALOGPRODUCTPRICE WHERE ", "", ""}},
    {"COMMODITYCODE", ValueForm::quoted, {"SELECT COMMODITYCODE FROM COMMODITY WHERE ", "", ""}},
    {"CHARGETYPECODE", ValueForm::quoted, {"SELECT COMMODITYCODE FROM COMMODITY WHERE ", "", ""}},
    {"PRODUCTID", ValueForm::as_it_stands, {"SELECT PRODUCTID FROM PRODUCT WHERE ", "", ""}},
    {"USERID",
     ValueForm::quoted,
     {"SELECT PRODUCTID FROM PRODUCT WHERE ", "SELECT USERID FROM COMMODITY WHERE ",
      "SELECT USERID FROM FAVORITES WHERE "}},
    // No column has this name, which is that of a table: the store refuses the statement.
    {"UNSPSCCODES",
     ValueForm::like,
     {"SELECT UNSPSCCODE FROM PRODUCT WHERE ", "SELECT UNSPSCCODE FROM PRODUCTCATEGORY WHERE ", ""}},
};

using UseStatements = std::array<Sql, 3>;

// The statements that look for one key. All are empty for a field that kUses does not have.
UseStatements statements_for(const std::string& field, const std::string& key) {
  UseStatements statements;
  const std::string upper_field = text::to_upper(field);
  for (const UsesOfField& uses : kUses) {
    if (uses.field != upper_field) continue;
    for (std::size_t i = 0; i < statements.size(); ++i) {
      if (uses.statements[i].text().empty()) continue;
      Sql& sql = statements[i] << uses.statements[i] << name(field);
      switch (uses.form) {
        case ValueForm::as_it_stands:
          sql << " = " << value(key);
          break;
        case ValueForm::quoted:
          sql << " = '" << value(Gen_QuoteSql(key)) << "'";
          break;
        case ValueForm::like:
          sql << " like '" << value(Gen_EscapeLike(key)) << "'";
          break;
      }
    }
  }
  return statements;
}

[[noreturn]] void raise_still_referred_to() {
  // The sentence stands in the source, where callers look for it; there is no description.
  raise(kInvalidReference, "The record you are trying to insert has an invalid reference to another record", {});
}

}  // namespace

bool Product::IReferentialIntegrity_Exists(const Variant&, const Array& iFields, const Array& iValues) {
  UseStatements statements;
  ConnectionPtr connection;
  const auto label = [&] {
    return "Mercato.Product.Exists " + statements[0].text() + " SQL2: " + statements[1].text() +
           " lSQL3: " + statements[2].text();
  };
  return method(
      [&] {
        bool in_use = false;
        if (!iFields.items.empty()) {
          statements = statements_for(iFields.at(iFields.lower).to_text(), iValues.at(iFields.lower).text_or_empty());
          connection = GetReadConnection();
          // The first one runs even when it is empty: the store refuses it, and so an unknown field fails.
          in_use = !connection->Execute(statements[0])->Eof();
          for (std::size_t i = 1; i < statements.size(); ++i)
            if (!statements[i].text().empty() && !connection->Execute(statements[i])->Eof()) in_use = true;
          Sql_CloseConnection(connection);
        }
        Mts_SetComplete();
        return in_use;
      },
      Tail{label, closing_and_aborting(connection)});
}

bool Product::IReferentialIntegrity_BeforeDelete(const Variant&, const Array& iFields, const Array& iValues) {
  ConnectionPtr connection;
  return method(
      [&] {
        connection = GetConnection();
        for (std::int32_t index = iFields.lower; index <= iFields.upper(); ++index) {
          if (text::to_upper(iFields.at(index).to_text()) != "USERID") continue;
          const std::string user = iValues.at(index).text_or_empty();
          connection->Execute(Sql("DELETE FROM FAVORITES WHERE USERID = '") << value(user) << "'");
          break;
        }
        Sql_CloseConnection(connection);
        Mts_SetComplete();
        return true;
      },
      Tail{"Mercato.Product.BeforeDelete", closing_and_aborting(connection)});
}

bool Product::Delete(std::int32_t iProductID) {
  grundwerk::ReferentialChecker checker;
  ConnectionPtr connection;
  return method(
      [&] {
        const Array fields{"ProductID"};
        const Array values{iProductID};
        if (!checker.CheckBeforeDelete("PRODUCT", fields, values)) raise_still_referred_to();
        if (!checker.RunBeforeDelete("Product", fields, values)) raise_still_referred_to();
        DeleteProductDependents("Product", fields, values);
        connection = GetConnection();
        const std::int64_t deleted =
            execute_and_close(connection, Sql("DELETE FROM PRODUCT WHERE PRODUCTID = ") << iProductID);
        if (deleted == 0) raise(eProductNotFound, "Mercato.Product.Delete", "Product not present");
        Mts_SetComplete();
        return true;
      },
      Tail{"Mercato.Product.Delete", closing_and_aborting(checker, connection)});
}

void Product::DeleteProductDependents(const std::string& /*owner*/, const Array& fields, const Array& values) {
  ConnectionPtr connection;
  method(
      [&] {
        const std::string field = fields.at(0).to_text();
        const std::string id = values.at(0).to_text();
        const auto delete_rows = [&](LiteralPiece table, std::string_view column) {
          connection = GetConnection();
          return execute_and_close(connection, Sql(table) << name(column) << "=" << value(id));
        };
        if (delete_rows("DELETE FROM attachedfile WHERE ", field) > 0) {
          // Without a row the folder is left alone, whatever it holds.
          const std::string folder = files::host_path(GetAttachmentFolder(values.at(0).to_long()));
          if (files::folder_exists(folder)) files::delete_folder(folder);
        }
        delete_rows("DELETE FROM productpropvalue WHERE ", field);
        delete_rows("DELETE FROM productsbycategory WHERE ", field);
        // Rows that name the product as the alternative of another stay.
        delete_rows("DELETE FROM alternativeproducts WHERE ", "ORIGINALPRODUCT");
        delete_rows("DELETE FROM catalogproductprice WHERE ", field);
        delete_rows("DELETE FROM favorites WHERE ", field);
        delete_rows("DELETE FROM productbuyer WHERE ", field);
        Mts_SetComplete();
      },
      Tail{"Mercato.Product.BeforeDelete", closing_and_aborting(connection)});
}

std::string Product::GetAttachmentFolder(std::int32_t product_id) {
  grundwerk::Configuration configuration;
  return configuration.GetWebRootFolder() + "\\mercato\\ProductAttachments\\" + std::to_string(product_id);
}

void Product::Disable(std::int32_t iProductID) {
  set_visibility("Mercato.Product.Disable", Sql("UPDATE PRODUCT SET DISABLED = 1 WHERE PRODUCTID = ") << iProductID);
}

void Product::Enable(std::int32_t iProductID) {
  set_visibility("Mercato.Product.Enable", Sql("UPDATE PRODUCT SET DISABLED = 0 WHERE PRODUCTID = ") << iProductID);
}

void Product::set_visibility(std::string_view label, const Sql& sql) {
  ConnectionPtr connection;
  method(
      [&] {
        connection = GetConnection();
        execute_and_close(connection, sql);
        Mts_SetComplete();
      },
      Tail{label, [&]() -> Variant {
             std::string errors = Err_ConnectionErrors(connection);  // before closing forgets them
             Sql_CloseConnection(connection);
             Mts_SetAbort();
             return errors;
           }});
}

}  // namespace mercato
