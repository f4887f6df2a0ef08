// SPDX-License-Identifier: Apache-2.0
// What a user sees when a command fails: one line that says what is wrong, where, and what to do. Every command of the
// tool stands in these tables.
#include <filesystem>
#include <set>
#include <sstream>

#include "tests/support/test_store.h"
#include "tests/tools/command_fixture.h"
#include "tests/tools/locked_store.h"

namespace mercato::test {
namespace {

constexpr const char* kSeed = R"(
INSERT INTO UNIT (UNITCODE, UNITDESCRIPTION) VALUES ('BX', 'Box');
INSERT INTO CURRENCY (CURRENCYCODE) VALUES ('EUR');
INSERT INTO USERS (USERID) VALUES ('ann');
INSERT INTO USERS (USERID) VALUES ('bob');
INSERT INTO USERS (USERID) VALUES ('O''Neil');
INSERT INTO PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, UNITCODE) VALUES ('A1', 'Pen', 'BX');
INSERT INTO PROPERTY (PROPERTYNAME, DATATYPE) VALUES ('COLOUR', 1);
INSERT INTO PROPERTYGROUP (PROPERTYGROUPNAME) VALUES ('pens');
INSERT INTO PROPSBYPROPGROUP (PROPERTYGROUPID, PROPERTYID) VALUES (1, 1);
INSERT INTO PRODUCTCATEGORY (CATEGORYNAME) VALUES ('Writing');
INSERT INTO FAVORITEFOLDERS (USERID, FOLDERNAME) VALUES ('ann', 'Desk');
INSERT INTO CATALOG (CATALOGNAME, ACTIVE) VALUES ('House', 1);
INSERT INTO CATALOGNODE (CATALOGID, NODENAME) VALUES (1, 'Office');
)";

const std::string kLong(300, 'x');
const std::string kNoWholeNumber = "' is no whole number up to 2147483647; --help says more.\n";
const std::string kQuotedUser =
    "mercato: the library puts a user's id into its statements as it stands, so that it cannot ask for O'Neil, which "
    "has a quote.\n";

// The columns of a key that is taken, which only SQLite names.
std::string in_brackets(const std::string& columns) {
  return ChosenStore::by_environment().on_server() ? "" : " (" + columns + ")";
}

struct Failure {
  Words command;
  std::string err;
  int status = 1;
};

const std::vector<Failure>& failures() {
  static const std::vector<Failure> failures = {
      // The command line
      {{}, "mercato: A command is required; --help says more.\n", 2},
      {{"nosuch"}, "mercato: There is no command `mercato nosuch`; --help says more.\n", 2},
      {{"product"}, "mercato: A command is required; --help says more.\n", 2},
      {{"product", "nosuch"}, "mercato: There is no command `mercato product nosuch`; --help says more.\n", 2},
      {{"find", "a", "--limit", "5", "--limit", "6"},
       "mercato: --limit is given more than once; --help says more.\n",
       2},
      {{"find", "a", "--nope"}, "mercato: `mercato find` has no option --nope; --help says more.\n", 2},
      {{"--color", "purple", "find", "a"},
       "mercato: --color: purple not in {auto,always,never}; --help says more.\n",
       2},
      {{"find", "a", "--scripted"}, "mercato: --scripted: is for `mercato rpc` only; --help says more.\n", 2},
      {{"find", "a", "--store", " "}, "mercato: --store: it is blank; --help says more.\n", 2},
      {{"init", "x"}, "mercato: 'x' is more than `mercato init` takes; --help says more.\n", 2},
      {{"version", "x"}, "mercato: 'x' is more than `mercato version` takes; --help says more.\n", 2},
      // What was probably meant
      {{"prodct", "new"},
       "mercato: There is no command `mercato prodct`. Did you mean `mercato product`? --help says more.\n",
       2},
      {{"product", "nwe"},
       "mercato: There is no command `mercato product nwe`. Did you mean `mercato product new`? --help says more.\n",
       2},
      {{"find", "a", "--limt=5"},
       "mercato: `mercato find` has no option --limt=5. Did you mean `--limit`? --help says more.\n",
       2},
      {{"help", "product", "nwe"},
       "mercato: There is no command `mercato product nwe`. Did you mean `mercato product new`? --help says more.\n",
       2},
      {{"manual", "nosuch"}, "mercato: There is no command `mercato nosuch`; --help says more.\n", 2},
      {{"shell", "x"}, "mercato: 'x' is more than `mercato shell` takes; --help says more.\n", 2},
      {{"completion", "tcsh"}, "mercato: SHELL: tcsh not in {bash,zsh,fish}; --help says more.\n", 2},
      {{"rpc", "x"}, "mercato: 'x' is more than `mercato rpc` takes; --help says more.\n", 2},
      {{"property", "list", "x"}, "mercato: 'x' is more than `mercato property list` takes; --help says more.\n", 2},
      {{"group", "list", "x"}, "mercato: 'x' is more than `mercato group list` takes; --help says more.\n", 2},
      {{"category", "list", "x"}, "mercato: 'x' is more than `mercato category list` takes; --help says more.\n", 2},
      {{"shopout", "list", "x"}, "mercato: 'x' is more than `mercato shopout list` takes; --help says more.\n", 2},
      {{"unit", "list", "x"}, "mercato: 'x' is more than `mercato unit list` takes; --help says more.\n", 2},
      {{"catalog", "list", "x"}, "mercato: 'x' is more than `mercato catalog list` takes; --help says more.\n", 2},
      {{"folder", "list"}, "mercato: USER is required; --help says more.\n", 2},
      {{"favorite", "list", ""}, "mercato: USER: it is blank; --help says more.\n", 2},
      {{"rights", "show", " "}, "mercato: USER: it is blank; --help says more.\n", 2},
      {{"rights", "clear", ""}, "mercato: USER: it is blank; --help says more.\n", 2},

      // The settings and the store
      {{"find", "a", "--config", "nowhere.toml"}, "mercato: The settings file 'nowhere.toml' cannot be read.\n", 2},
      {{"find", "a", "--config", "folder"}, "mercato: The settings file 'folder' cannot be read.\n", 2},
      {{"find", "a", "--config", "unknown.toml"}, "mercato: unknown.toml, line 1: unknown key 'shop'.\n", 2},
      {{"find", "a", "--config", "limit.toml"},
       "mercato: limit.toml, line 2: 'call_seconds' has to be a number of seconds, 0 or more.\n",
       2},
      {{"find", "a", "--store", "Provider=Nope;Data Source=x"},
       "mercato: There is no store provider 'Nope'. Known providers: " + known_providers() + ".\n",
       4},
      {{"find", "a", "--store", "Provider=SQLite"},
       "mercato: The connection string has no Data Source. It has to name the store file.\n",
       4},
      {{"find", "a", "--store", "nowhere.db"},
       "mercato: There is no store at 'nowhere.db'. Create it with `mercato init`, or correct Data Source.\n",
       4},
      {{"find", "a", "--store", "Data Source=nowhere.db"},
       "mercato: There is no store at 'nowhere.db'. Create it with `mercato init`, or correct Data Source.\n",
       4},
      {{"init", "--store", "Data Source=nowhere/x.db"},
       "mercato: There is no folder 'nowhere' for the store 'nowhere/x.db'. Create it, or correct Data Source.\n",
       4},
      {{"init", "--store", "Data Source=folder"},
       "mercato: 'folder' is a folder, not a store. Correct Data Source.\n",
       4},
      {{"find", "a", "--store", "Data Source=empty.db"},
       "mercato: The store has no table PRODUCT: `mercato init` creates the tables that are missing.\n",
       4},
      {{"catalog", "tree", "1", "--store", "Data Source=empty.db"},
       "mercato: The store has no table CATALOG: `mercato init` creates the tables that are missing.\n",
       4},

      // Documents and scripts
      {{"preview", "nowhere.xml"}, "mercato: Cannot read the file \"nowhere.xml\": No such file or directory.\n"},
      {{"preview", "folder"}, "mercato: Cannot read the file \"folder\": Is a directory.\n"},
      {{"preview", "text.txt"},
       "mercato: The document \"text.txt\" cannot be loaded: Line 1, column 1: text stands outside the root "
       "element.\n"},
      {{"preview", "gopher://x/y"}, "mercato: Cannot fetch \"gopher://x/y\": only http, https and file are fetched.\n"},
      {{"upload", "nowhere.xml"}, "mercato: Cannot read the file \"nowhere.xml\": No such file or directory.\n"},
      {{"upload", "text.txt", "--on-errors", "perhaps"},
       "mercato: --on-errors: perhaps not in {write,skip}; --help says more.\n",
       2},
      {{"import"}, "mercato: FILE is required; --help says more.\n", 2},
      {{"import", "nowhere.csv"}, "mercato: The file \"nowhere.csv\" is not there.\n"},
      {{"export"}, "mercato: WHAT is required; --help says more.\n", 2},
      {{"export", "catalog"}, "mercato: Say which catalogue is to be exported: --catalog NAME; --help says more.\n", 2},
      {{"prices", "preview", "nowhere.xml"},
       "mercato: Cannot read the file \"nowhere.xml\": No such file or directory.\n"},
      {{"prices", "upload", "folder"}, "mercato: Cannot read the file \"folder\": Is a directory.\n"},
      {{"execute", "nowhere.sql"}, "mercato: Cannot read the file \"nowhere.sql\": No such file or directory.\n"},
      {{"execute", "text.txt"},
       "mercato: Statement 1, line 1: Incorrect syntax near 'hello' (character 1). Nothing of the script was kept.\n"},
      {{"execute", "doubled.sql"},
       "mercato: Statement 1, line 1: There is already a row with this key" + in_brackets("UNIT.UNITCODE") +
           ". Nothing of the script was kept.\n"},
      {{"execute", "unclosed.sql"},
       "mercato: Statement 2, line 3: Unclosed quotation mark after the character string 'KG);' (character 31). "
       "Nothing of the script was kept.\n"},
      {{"unspsc", "load"}, "mercato: FILE is required; --help says more.\n", 2},
      {{"unspsc", "tree", "99"}, "mercato: There is no UNSPSC code 99.\n"},
      {{"catalog", "load", "nowhere.csv", "--name", "X"},
       "mercato: Cannot read the file \"nowhere.csv\": No such file or directory.\n"},
      {{"catalog", "load", "text.txt", "--name", "X"},
       "mercato: The first line of the file has no column for the id of a node; name it with --id-column, or put "
       "commas "
       "between the columns if it has others.\n"},

      // Calls
      {{"call", "Mercato.Product"}, "mercato: METHOD is required; --help says more.\n", 2},
      {{"call", "Mercato.Product", "GetGTIN", "--text"},
       "mercato: --text: an argument that begins so is a text in JSON: '\"--text\"'; --help says more.\n",
       2},
      {{"describe", "Mercato.Nobody"}, "{\"code\":-32602,\"message\":\"Nobody answers to 'Mercato.Nobody'\"}\n"},

      // Products
      {{"find"}, "mercato: WORDS is required; --help says more.\n", 2},
      {{"find", "a", "--limit", "0"}, "mercato: --limit: Value 0 not in range 1 to 32000; --help says more.\n", 2},
      {{"find", "a", "--offset", "-1"}, "mercato: --offset: '-1' is no number of 0 or more; --help says more.\n", 2},
      {{"find", "a", "--user", " "}, "mercato: --user: it is blank; --help says more.\n", 2},
      {{"show", "9"}, "mercato: There is no product 9.\n"},
      {{"show", "-1"}, "mercato: There is no product -1.\n"},
      {{"show", "five"}, "mercato: There is no product five.\n"},
      {{"show", "99999999999"}, "mercato: There is no product 99999999999.\n"},
      {{"show", "A1", "--supplier", "ACME"}, "mercato: There is no business partner ACME.\n"},
      {{"product", "show", "9"}, "mercato: There is no product 9.\n"},
      {{"product", "new", "A2"}, "mercato: DESCRIPTION is required; --help says more.\n", 2},
      {{"product", "new", "A2", "Ink", "PRODUCTID=5"},
       "mercato: The store gives out PRODUCTID itself: leave it out.\n"},
      {{"product", "new", "A2", "Ink", "BUSINESSPARTNERID=9"},
       "refused: there is no business partner 9\n"
       "mercato: The product record you are trying to insert has an invalid reference to another record.\n"},
      {{"product", "new", "A2", "Ink", "PRODUCTEXPIRYDATE=2026-13-45"},
       "refused: PRODUCTEXPIRYDATE takes a date such as 2026-07-01 or 7/1/2026, not '2026-13-45'\n"
       "mercato: Type mismatch.\n"},
      {{"product", "new", kLong, "Ink"},
       "refused: PARTNUMBER takes at most 50 characters, not 300\n"
       "mercato: The value is too long: column PRODUCT.PARTNUMBER takes at most 50 characters.\n"},
      {{"product", "set", "9", "PARTNUMBER=X"}, "mercato: There is no product 9.\n"},
      {{"product", "set", "-1", "PARTNUMBER=X"}, "mercato: There is no product -1.\n"},
      {{"product", "set", "1", "productid=2"}, "mercato: The store gives out PRODUCTID itself: leave it out.\n"},
      {{"product", "set", "1", "PARTNUMBER="},
       "refused: PARTNUMBER is empty\nmercato: PRODUCT.PARTNUMBER may not be Null.\n"},
      {{"product", "set", "1", "MINORDERQTY=ten"},
       "refused: MINORDERQTY takes a number, not 'ten'\nmercato: Type mismatch.\n"},
      {{"product", "set", "1", "NOPE=1"},
       "refused: there is no field NOPE\nmercato: Item cannot be found in the collection corresponding to the "
       "requested "
       "name or ordinal: NOPE.\n"},
      {{"product", "set", "1", "NOPE"}, "mercato: PAIRS: 'NOPE' is not of the form NAME=VALUE; --help says more.\n", 2},
      {{"product", "disable", "9"}, "mercato: There is no product 9.\n"},
      {{"product", "enable", "9"}, "mercato: There is no product 9.\n"},
      {{"product", "delete", "9"}, "mercato: There is no product 9.\n"},
      {{"product", "delete", "A1"},
       "mercato: product 1 A1 Pen with all that is about it will be deleted: --yes confirms it.\n"},
      {{"product", "check", "9", "--quantity", "1"}, "mercato: There is no product 9.\n"},
      {{"product", "check", "1", "--quantity", "-5"},
       "mercato: --quantity: '-5' is no number above 0; --help says more.\n",
       2},
      {{"product", "properties", "9"}, "mercato: There is no product 9.\n"},
      {{"product", "properties", "1", "WIDTH=1"}, "mercato: There is no property WIDTH.\n"},

      // Prices
      {{"price", "list", "9"}, "mercato: There is no product 9.\n"},
      {{"price", "set", "9", "--from", "2026-01-01", "--to-quantity", "9", "--currency", "EUR", "--price", "1"},
       "mercato: There is no product 9.\n"},
      {{"price", "set", "1", "--from", "2026-01-01", "--to-quantity", "9", "--currency", "EUR", "--price", "cheap"},
       "mercato: --price: 'cheap' is no number; --help says more.\n",
       2},
      {{"price", "set", "1", "--from", "2026-02-30", "--to-quantity", "9", "--currency", "EUR", "--price", "1"},
       "mercato: --from: '2026-02-30' is no date; write 2026-07-01 or 7/1/2026; --help says more.\n",
       2},
      {{"price", "set", "1", "--from", "2026-01-01", "--to-quantity", "9", "--currency", "DKK", "--price", "1"},
       "refused: there is no currency DKK\n"
       "mercato: The catalog product price record you are trying to insert has an invalid reference to another "
       "record.\n"},
      {{"price", "for", "9", "--quantity", "1", "--currency", "EUR"}, "mercato: There is no product 9.\n"},
      {{"price", "for", "1", "--quantity", "1", "--currency", "EUR", "--date", "2026-01-01"},
       "mercato: no price line holds for product 1, quantity 1, on 2026-01-01.\n"},

      // Properties, groups, categories, units
      {{"property", "new", ""}, "mercato: NAME: it is blank; --help says more.\n", 2},
      {{"property", "new", kLong},
       "refused: PROPERTYNAME takes at most 255 characters, not 300\n"
       "mercato: The value is too long: column PROPERTY.PROPERTYNAME takes at most 255 characters.\n"},
      {{"property", "set", "9", "--name", "X"}, "mercato: There is no property 9.\n"},
      {{"property", "delete", "9"}, "mercato: There is no property 9.\n"},
      {{"property", "delete", "WIDTH"}, "mercato: There is no property WIDTH.\n"},
      {{"property", "delete", "COLOUR"}, "mercato: property 1 COLOUR will be deleted: --yes confirms it.\n"},
      {{"group", "new", " "}, "mercato: NAME: it is blank; --help says more.\n", 2},
      {{"group", "add", "pens", "WIDTH"}, "mercato: There is no property WIDTH.\n"},
      {{"group", "add", "pens", "COLOUR"},
       "refused: COLOUR is in pens already\n"
       "mercato: There is already a row with this key" +
           in_brackets("PROPSBYPROPGROUP.PROPERTYGROUPID, PROPSBYPROPGROUP.PROPERTYID") + ".\n"},
      {{"group", "apply", "9"}, "mercato: There is no property group 9.\n"},
      {{"group", "remove", "pens", "9"}, "mercato: property 9 is not in pens.\n"},
      {{"property", "choices", "COLOUR", "--add", "red"},
       "refused: property 1 COLOUR has the type text; only one of the type enum has choices: `mercato property set "
       "--type enum`\n"
       "mercato: the choices of property 1 COLOUR stay as they were.\n"},
      {{"category", "add", "Writing"},
       "mercato: At least 1 option from [PRODUCT,--file,--supplier,--category,--part-number] is required; --help says "
       "more.\n",
       2},
      {{"category", "add", "Writing", "9"}, "mercato: There is no product 9.\n"},
      {{"category", "remove", "Writing", "A1"},
       "refused: no product that was chosen is in category 1 Writing\nmercato: nothing was changed.\n"},
      {{"price", "delete", "A1"}, "mercato: there is no such price line.\n"},
      {{"price", "end", "A1"}, "mercato: --on is required; --help says more.\n", 2},
      {{"price", "end", "A1", "--on", "2026-12-31"}, "mercato: no price line holds on that day and beyond it.\n"},
      {{"price", "change", "A1", "--by", "-100%"},
       "mercato: --by takes percent above -100 with at most four decimals, such as 3% or -2.5%, not '-100%'.\n"},
      {{"price", "change", "A1", "--by", "3%"}, "mercato: no price changes.\n"},
      {{"product", "disable", "--supplier", "ACME"}, "mercato: There is no business partner ACME.\n"},
      {{"product", "disable", "--part-number", "A*"}, "mercato: 1 product will be disabled: --yes confirms it.\n"},
      {{"product", "enable", "--file", "products.txt"},
       "refused: line 2: There is no product B9\n"
       "mercato: products.txt has 1 line without one product; nothing was changed.\n"},
      {{"product", "alternatives", "A1", "--add", "1"},
       "refused: product 1 is no alternative of its own\n"
       "mercato: the alternatives of product 1 stay as they were.\n"},
      {{"product", "images", "9"}, "mercato: There is no product 9.\n"},
      {{"product", "attachments", "9"}, "mercato: There is no product 9.\n"},
      {{"product", "attach", "A1", "nowhere.pdf"},
       "mercato: Cannot read the file \"nowhere.pdf\": No such file or directory.\n"},
      {{"product", "detach", "A1", "x.pdf"}, "mercato: product 1 has no attached file x.pdf.\n"},
      {{"catalog", "succeed", "House", "9"}, "mercato: There is no catalogue 9.\n"},
      {{"catalog", "activate", "9"}, "mercato: There is no catalogue 9.\n"},
      {{"catalog", "deactivate", "9"}, "mercato: There is no catalogue 9.\n"},
      {{"catalog", "rename", "House", kLong},
       "mercato: The name of a catalogue takes at most 255 characters, not 300.\n"},
      {{"catalog", "delete", "House", "--yes"},
       "mercato: Catalogue 1 is active; `mercato catalog deactivate` or `mercato catalog expire` comes first.\n"},
      {{"node", "show", "House"},
       "mercato: House is a catalogue; a node is named by its id, or as CATALOGUE/NAME/NAME.\n"},
      {{"node", "new", "House", "Office"},
       "mercato: Its parent has a node Office already, node 1; two of one name could not be told apart.\n"},
      {{"node", "move", "House/Office", "House/Office"},
       "mercato: A node cannot lie below itself: node 1 is below node 1.\n"},
      {{"node", "rename", "House/Home", "X"}, "mercato: There is no node Home on the way House/Home.\n"},
      {{"node", "delete", "1"},
       "mercato: node 1 with 0 nodes below it, 0 rights and 0 ties of partners will be deleted: --yes confirms it.\n"},
      {{"doctor", "--mend", "PRODUCT.COLOUR"},
       "mercato: PRODUCT.COLOUR is no reference between tables; `mercato doctor` names those that lead nowhere.\n"},
      {{"rights", "grant", "dan", "House/Office"}, "mercato: There is no user dan; --force takes him all the same.\n"},
      {{"rights", "grant", "ann", "9"}, "mercato: There is no node 9.\n"},
      {{"rights", "revoke", "ann", "House/Office"}, "mercato: ann has no right on node 1 Office itself.\n"},
      {{"group", "delete", "9"}, "mercato: There is no property group 9.\n"},
      {{"group", "delete", "pens"}, "mercato: property group 1 pens will be deleted: --yes confirms it.\n"},
      {{"category", "new", ""}, "mercato: NAME: it is blank; --help says more.\n", 2},
      {{"category", "set", "9", "--name", "X"}, "mercato: There is no category 9.\n"},
      {{"category", "delete", "9"}, "mercato: There is no category 9.\n"},
      {{"category", "delete", "1"},
       "mercato: category 1 Writing with 0 product links and the nodes that show it will be deleted: --yes confirms "
       "it.\n"},
      {{"unit", "delete", "Q'Q"}, "mercato: There is no unit Q'Q.\n"},
      {{"reference", "list", "colours"},
       "mercato: There is no reference table colours; there are units, hazardous-classes, commodities, manufacturers, "
       "tax-codes, currencies, rates, users, partners, contract-lines, questions, question-categories, "
       "visibilities.\n"},
      {{"reference", "show", "units", "Q'Q"}, "mercato: There is no UNIT Q'Q.\n"},
      {{"reference", "set", "units", "UNITDESCRIPTION=box"},
       "refused: UNITCODE is missing, by which a row is known\n"
       "mercato: The row has 1 fault; nothing of it was written.\n"},
      {{"reference", "load", "units", "nowhere.csv"},
       "mercato: Cannot read the file \"nowhere.csv\": No such file or directory.\n"},
      {{"reference", "delete", "units", "Q'Q"}, "mercato: There is no UNIT Q'Q.\n"},
      {{"schema", "NOTHING"}, "mercato: There is no table NOTHING.\n"},
      {{"unit", "delete", "BX"}, "refused: 1 product still uses unit BX\nmercato: unit BX stays.\n"},

      // The store
      {{"serve", "x"}, "mercato: 'x' is more than `mercato serve` takes; --help says more.\n", 2},
      {{"serve", "--listen", "nowhere"}, "mercato: 'nowhere' is no address with a port, such as 127.0.0.1:8080.\n"},
      {{"token", "new"}, "mercato: NAME is required; --help says more.\n", 2},
      {{"token", "new", "shop", "--role", "reader", "--expires", "soon"},
       "mercato: 'soon' is no day; write 2026-12-31.\n"},
      {{"token", "list", "x"}, "mercato: 'x' is more than `mercato token list` takes; --help says more.\n", 2},
      {{"token", "revoke", "shop"},
       "mercato: Cannot read the file \"mercato-tokens.json\": No such file or directory.\n"},
      {{"store", "check", "x"}, "mercato: 'x' is more than `mercato store check` takes; --help says more.\n", 2},
      {{"store", "copy", "mercato.db"}, "mercato: TO is required; --help says more.\n", 2},
      {{"store", "copy", "nowhere.db", "x.db"},
       "mercato: There is no store at 'nowhere.db'. Create it with `mercato init`, or correct Data Source.\n",
       4},
      {{"store", "backup"}, "mercato: FILE is required; --help says more.\n", 2},
      {{"uploads", "list", "x"}, "mercato: 'x' is more than `mercato uploads list` takes; --help says more.\n", 2},
      {{"uploads", "show", "7"}, "mercato: There is no upload 7; `mercato uploads list` shows those that are kept.\n"},
      {{"uploads", "diff", "7"}, "mercato: There is no upload 7; `mercato uploads list` shows those that are kept.\n"},
      {{"uploads", "undo", "7"}, "mercato: There is no upload 7; `mercato uploads list` shows those that are kept.\n"},
      {{"uploads", "forget"}, "mercato: --before is required; --help says more.\n", 2},
      {{"store", "restore"}, "mercato: FILE is required; --help says more.\n", 2},

      // Users, their favourites and rights
      {{"favorite", "add", "ann", "9"}, "mercato: There is no product 9.\n"},
      {{"favorite", "add", "ann", "1", "--folder", "9"}, "mercato: ann has no folder 9.\n"},
      {{"favorite", "add", "bob", "1", "--folder", "1"}, "mercato: bob has no folder 1.\n"},
      {{"favorite", "add", "ann", "1", "--folder", "1.5"}, "mercato: --folder: '1.5" + kNoWholeNumber, 2},
      {{"favorite", "add", "O'Neil", "1"}, kQuotedUser},
      {{"favorite", "remove", "O'Neil", "1"}, kQuotedUser},
      {{"favorite", "remove", "ann", "1"}, "mercato: product 1 is no such favourite of ann.\n"},
      {{"folder", "new", "ann", "Desk"},
       "refused: ann has a folder Desk already: 1\nmercato: no folder was created.\n"},
      {{"folder", "rename", "ann", "9", "X"}, "mercato: ann has no folder 9.\n"},
      {{"folder", "show", "bob", "1"}, "mercato: bob has no folder 1.\n"},
      {{"folder", "delete", "ann", "0"}, "mercato: ann has no folder 0.\n"},
      {{"folder", "delete", "ann", "Desk"},
       "mercato: folder 1 Desk with 0 favourites will be deleted: --yes confirms it.\n"},
      {{"rights", "explain", "ann", "9"}, "mercato: There is no node 9.\n"},
      {{"rights", "explain", "ann", "one"}, "mercato: There is no catalogue one.\n"},
      {{"rights", "explain", "O'Neil", "1"}, kQuotedUser},
      {{"rights", "assign", "ann", "9"}, "mercato: There is no catalogue 9.\n"},
      {{"rights", "populate", "O'Neil"}, kQuotedUser},

      // Catalogues and partners
      {{"catalog", "show", "9"}, "mercato: There is no catalogue 9.\n"},
      {{"catalog", "tree", "9"}, "mercato: There is no catalogue 9.\n"},
      {{"catalog", "tree", "1", "--depth", "two"}, "mercato: --depth: 'two" + kNoWholeNumber, 2},
      {{"catalog", "tree", "1", "--user", "O'Neil"}, kQuotedUser},
      {{"catalog", "new", "Next", "CATALOGID=7"}, "mercato: The store gives out CATALOGID itself: leave it out.\n"},
      {{"catalog", "new", "Next", "ACTIVE=maybe"},
       "refused: ACTIVE takes a whole number, not 'maybe'\nmercato: Type mismatch.\n"},
      {{"catalog", "copy", "9"}, "mercato: There is no catalogue 9.\n"},
      {{"catalog", "migrate", "1", "9"}, "mercato: There is no catalogue 9.\n"},
      {{"catalog", "expire", "9"}, "mercato: There is no catalogue 9.\n"},
      {{"shopout", "show", "1"}, "mercato: Node 1 is no shop-out folder with a partner.\n"},
      {{"shopout", "account", "ann", "40000"},
       "mercato: Shop-out folders and ties have ids from 1 to 32767, not 40000.\n"},
      {{"shopout", "partners", "9"}, "mercato: There is no catalogue 9.\n"},
      {{"shopout", "tie", "9", "1"}, "mercato: There is no catalogue 9.\n"},
      {{"shopout", "tie", "1", "9"}, "refused: there is no business partner 9\nmercato: no partner was tied.\n"},
      {{"shopout", "replace", "1", "9"},
       "refused: there is no business partner 9\nmercato: the partners stay as they were.\n"},
      {{"shopout", "untie", "9"}, "mercato: There is no catalogue 9.\n"},
      {{"shopout", "untie", "1"}, "mercato: no partner is tied to catalogue 1.\n"},
  };
  return failures;
}

class Failures : public CommandTest {
 protected:
  Failures() : CommandTest(kSeed) {
    std::filesystem::create_directory(tool_.folder() / "folder");
    write_file("empty.db", "");
    write_file("text.txt", "hello\n");
    write_file("products.txt", "A1\nB9\n");
    write_file("unknown.toml", "[shop]\nname = \"x\"\n");
    write_file("limit.toml", "[limits]\ncall_seconds = \"soon\"\n");
    write_file("doubled.sql", "INSERT UNIT (UNITCODE, UNITDESCRIPTION) VALUES ('BX', 'again');");
    // The message named no place and blamed the library.
    write_file("unclosed.sql",
               "INSERT UNIT (UNITCODE, UNITDESCRIPTION) VALUES ('EA', 'each');\n-- kilograms\n"
               "INSERT UNIT (UNITCODE) VALUES('KG);");
  }
  void expect_all(const std::vector<Failure>& failures) {
    for (const Failure& failure : failures) {
      std::string line = "mercato";
      for (const std::string& word : failure.command) line += " " + word;
      SCOPED_TRACE(line);
      const ToolRun done = run(failure.command);
      EXPECT_EQ(done.err, failure.err);
      EXPECT_EQ(done.status, failure.status);
      EXPECT_EQ(done.out, "");
    }
  }
  // The names below "Subcommands:" of a help text.
  Words commands_in(const Words& command) {
    Words words = command;
    words.emplace_back("--help");
    std::istringstream help(run(words).out);
    Words names;
    bool listed = false;
    for (std::string line; std::getline(help, line);) {
      if (line.empty()) listed = false;
      if (listed && line.starts_with("  ") && line[2] != ' ') names.push_back(line.substr(2, line.find(' ', 2) - 2));
      if (line == "Subcommands:") listed = true;
    }
    return names;
  }
};

TEST_F(Failures, AreToldInWordsOfTheUser) {
  const std::string before = whole_store();
  expect_all(failures());
  EXPECT_EQ(whole_store(), before);
}

TEST_F(Failures, OfTheStoresFileAreToldInWordsOfTheUser) {
  MERCATO_ONLY_ON_SQLITE(tool_.store(), "the store is a file");
  const std::string before = whole_store();
  expect_all({
      {{"store", "copy", "mercato.db", "nowhere/x.db"},
       "mercato: There is no folder 'nowhere' for the store 'nowhere/x.db'. Create it, or correct Data Source.\n",
       4},
      {{"store", "backup", "/nowhere/x"}, "mercato: There is no folder '/nowhere' for the backup '/nowhere/x'.\n", 4},
      {{"store", "restore", "nowhere.db"}, "mercato: There is no backup 'nowhere.db': No such file or directory.\n", 4},
  });
  EXPECT_EQ(whole_store(), before);
}

TEST_F(Failures, OfEveryCommandAreInTheTable) {
  std::set<Words> told;
  for (const Failure& failure : failures())
    for (std::size_t words = 1; words <= std::min<std::size_t>(failure.command.size(), 2); ++words)
      told.emplace(failure.command.begin(), failure.command.begin() + static_cast<std::ptrdiff_t>(words));
  const Words groups = commands_in({});
  EXPECT_GE(groups.size(), 23u);
  for (const std::string& group : groups) {
    EXPECT_TRUE(told.contains({group})) << group;
    for (const std::string& command : commands_in({group}))
      EXPECT_TRUE(told.contains({group, command})) << group << ' ' << command;
  }
}

// The engine's own words stood behind each of these, and behind a lock the milliseconds that were waited.
TEST_F(Failures, OfAStoreThatIsHeldOrIsNoneOfOursAreToldInWordsOfTheUser) {
  MERCATO_ONLY_ON_SQLITE(tool_.store(), "one writer holds the whole store, and a file may be anything");
  write_file("other.db", std::string(5000, 'x'));
  execute("INSERT INTO UNIT (UNITCODE) VALUES ('EA')");
  write_file("more.sql", "INSERT INTO UNIT (UNITCODE) VALUES ('KG');");
  write_file("records.xml",
             "<Products><Product buyfrompartnumber=\"P-1\"><PARTNUMBER>P1</PARTNUMBER><PRODUCTDESCRIPTION>Pen"
             "</PRODUCTDESCRIPTION><MULTIPLEBUYER>0</MULTIPLEBUYER></Product></Products>");
  std::filesystem::copy_file(tool_.folder() / "mercato.db", tool_.folder() / "newer.db");
  {
    sqlite3* engine = nullptr;
    ASSERT_EQ(sqlite3_open((tool_.folder() / "newer.db").c_str(), &engine), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(engine, "PRAGMA user_version=99", nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(engine);
  }
  const std::string before = whole_store();
  const std::string held = "Another process or connection holds the store 'mercato.db'. Wait until it is done, then ";
  const std::string locked = "Provider=SQLite;Data Source=mercato.db;Busy Timeout=50";
  const std::string other = "Provider=SQLite;Data Source=other.db";
  const std::string newer = "Provider=SQLite;Data Source=newer.db";
  const std::string no_store = "mercato: 'other.db' is not a store. Correct Data Source.\n";
  const std::string too_new =
      "mercato: The store 'newer.db' was written by a newer version of this program (store version 99, this one knows "
      "3). Use the newer version.\n";
  const std::vector<Failure> table = {
      {{"product", "disable", "1", "--store", locked}, "mercato: " + held + "repeat the command.\n", 4},
      {{"upload", "records.xml", "--store", locked}, "mercato: " + held + "repeat the command.\n", 4},
      {{"unit", "delete", "EA", "--store", locked, "--yes"}, "mercato: " + held + "repeat the command.\n", 4},
      {{"property", "new", "WIDTH", "--store", locked}, "mercato: " + held + "repeat the command.\n", 4},
      {{"execute", "more.sql", "--store", locked},
       "mercato: Statement 1, line 1: " + held + "repeat the command. Nothing of the script was kept.\n",
       4},
      {{"find", "pen", "--store", other}, no_store, 4},
      {{"init", "--store", other}, no_store, 4},
      {{"execute", "more.sql", "--store", other}, "mercato: 'other.db' is not a store. Correct Data Source.\n", 4},
      {{"find", "pen", "--store", newer}, too_new, 4},
      {{"store", "check", "--store", newer}, too_new, 4},
      {{"store", "restore", "newer.db"},
       "mercato: The backup 'newer.db' was written by a newer version of this program (store version 99, this one "
       "knows 3).\n",
       4},
  };
  {
    const LockedStore holder(tool_.folder() / "mercato.db");
    expect_all(table);
    const ToolRun traced = run({"unit", "delete", "EA", "--store", locked, "--trace", "--yes"});
    EXPECT_NE(traced.err.find(" milliseconds (database is locked)"), std::string::npos) << traced.err;
    EXPECT_EQ(answer({"upload", "--no-journal", "records.xml", "--store", locked}, 1).at("stoppedBy"),
              held + "repeat the command.");
  }
  EXPECT_EQ(whole_store(), before);
}

// The message showed a statement of the library's, and the place of a quote in it.
TEST_F(Failures, OfALibraryStatementAreShownWithATraceOnly) {
  const ToolRun traced = run({"rights", "explain", "O'Neil", "1", "--trace"});
  EXPECT_NE(traced.err.find(kQuotedUser), std::string::npos) << traced.err;
  EXPECT_NE(traced.err.find("Unclosed quotation mark after the character string ' AND NODEID = 1' (character 51)"),
            std::string::npos)
      << traced.err;
}

TEST_F(Failures, OfARecordWithAQuoteWhereTheLibraryTakesNoneAreTold) {
  write_file(
      "records.xml",
      "<Products><Product buyfrompartnumber=\"P-1\"><PARTNUMBER>P1</PARTNUMBER><PRODUCTDESCRIPTION>Pen"
      "</PRODUCTDESCRIPTION><MULTIPLEBUYER>0</MULTIPLEBUYER><COLOUR>black'n'white</COLOUR></Product></Products>");
  EXPECT_EQ(answer({"upload", "records.xml"}, 3).at("refusals"),
            json::parse(R"([{"partNumber":"P-1","fileLine":1,"field":"COLOUR","value":"black'n'white","reason":)"
                        R"("the library does not take a typewriter apostrophe here. Accept it to have it replaced by )"
                        R"(a typographic one."}])"));
}

}  // namespace
}  // namespace mercato::test
