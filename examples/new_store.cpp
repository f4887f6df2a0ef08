// SPDX-License-Identifier: Apache-2.0
// Makes a store with its tables, and files a unit and a product in it: a whole program against the installed library.
//
//   new_store STORE
#include <iostream>

#include "mercato/mercato.h"

int main(int argument_count, char** arguments) {
  if (argument_count != 2) {
    std::cerr << "usage: new_store STORE\n";
    return 2;
  }
  try {
    const std::string store = "Provider=SQLite;Data Source=" + std::string(arguments[1]);
    const mercato::CreatedTables created = mercato::create_tables(store);
    std::cout << "mercato " << MERCATO_VERSION << " made " << created.tables.size() << " tables\n";

    mercato::collaborators::Settings settings;
    settings.connections["Mercato"] = store;
    mercato::collaborators::set_settings(settings);
    DllRegisterServer();

    // What no class files is written by a statement.
    const mercato::ConnectionPtr connection = mercato::Connection::create();
    connection->Open(store, "", "", -1);
    connection->Execute(mercato::Sql("INSERT INTO UNIT (UNITCODE, UNITDESCRIPTION) VALUES ('PC', 'Piece')"));
    connection->Close();

    mercato::Root<mercato::Product> product;
    const mercato::Array fields{"PARTNUMBER", "PRODUCTDESCRIPTION", "UNITCODE", "BUYFROMPARTNUMBER"};
    const mercato::Array values{"A-1", "Desk lamp", "PC", "S-1"};
    std::cout << "product " << product->Insert20(fields, values) << "\n";

    // What fails is told by one exception; the number says what it was.
    try {
      product->GetProductEx(99);
    } catch (const mercato::Raised& failure) {
      if (failure.error().Number != mercato::eProductNotFound) throw;
      std::cout << "product 99: " << failure.error().Description << "\n";
    }
    return 0;
  } catch (const mercato::Raised& failure) {
    std::cerr << failure.error().Source << ": " << failure.error().Description << "\n";
    return 1;
  }
}
