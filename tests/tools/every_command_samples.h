// SPDX-License-Identifier: Apache-2.0
// A line that works and one that fails for every command, in an order in which each finds what it needs.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

namespace mercato::test {

enum class SampleKind : std::uint8_t {
  ordinary,
  without_statements,  // that could be interrupted; or it watches them itself
  on_file,             // works on a store in a file, as a whole
};

struct CommandSample {
  const char* works;  // null: it serves whoever asks, and is shown elsewhere
  const char* fails;
  int failure = 1;
  SampleKind kind = SampleKind::ordinary;
  int success = 0;
};

// The files that they name.
inline const std::vector<std::pair<const char*, const char*>> kSampleFiles = {
    {"units.csv", "UNITCODE,UNITDESCRIPTION\nEA,each\nBX,box\nLT,litre\n"},
    {"nodes.csv", "id,parent,name,category\noffice,,Office,\npens,office,Pens,Writing\n"},
    {"codes.xml",
     "<UNSPSC_ITEMS><UNSPSC_ITEM><CODE>44000000</CODE><DESCRIPTION>Office</DESCRIPTION></UNSPSC_ITEM></UNSPSC_ITEMS>"},
    {"records.xml",
     "<Products><Product buyfrompartnumber=\"S3\"><PARTNUMBER>A3</PARTNUMBER><PRODUCTDESCRIPTION>Chalk"
     "</PRODUCTDESCRIPTION><UNITCODE>EA</UNITCODE><MULTIPLEBUYER>0</MULTIPLEBUYER></Product></Products>"},
    {"prices.xml",
     "<ProductPrices><ProductPrice buyfrompartnumber=\"S3\"><CurrencyCode>EUR</CurrencyCode><Price>1</Price>"
     "<QuantityTo>9</QuantityTo><PriceEffectiveDate>2026-01-01</PriceEffectiveDate><PriceExpiryDate>2026-12-31"
     "</PriceExpiryDate></ProductPrice></ProductPrices>"},
    {"parts.csv", "part number,description,unit\nS4,Sponge,EA\n"},
    // What no command writes.
    {"shop.sql",
     "UPDATE CATALOGNODE SET SHOPOUT = 1 WHERE NODENAME = 'Office';\n"
     "INSERT INTO CATALOGNODEBYUSER (USERID, CATALOGID, NODEID, SHAREDID) SELECT 'ann', CATALOGID, NODEID, 'team' FROM "
     "CATALOGNODE WHERE NODENAME = 'Office';\n"},
};

inline constexpr CommandSample kCommandSamples[] = {
    {"init", "init --store nowhere/a.db", 4},
    {"version", "version x", 2, SampleKind::without_statements},
    {"help", "help nope", 2, SampleKind::without_statements},
    {"manual", "manual nope", 2, SampleKind::without_statements},
    {"completion bash", "completion ksh", 2, SampleKind::without_statements},
    {"describe", "describe Mercato.Nope", 1, SampleKind::without_statements},
    {"call Mercato.Unit GetAllUnits", "call Mercato.Product GetProductEx 99", 1, SampleKind::without_statements},
    {nullptr, "rpc x", 2},
    {nullptr, "serve x", 2},
    {nullptr, "shell x", 2},
    {"schema UNIT", "schema NOPE", 1, SampleKind::without_statements},
    {"token new shop --role reader", "token new shop", 2, SampleKind::without_statements},
    {"token list", "token list --tokens nowhere.json", 1, SampleKind::without_statements},
    {"token revoke shop", "token revoke nope", 1, SampleKind::without_statements},

    {"reference load units units.csv", "reference load units nowhere.csv"},
    {"reference list units", "reference list colours"},
    {"reference show units EA", "reference show units QQ"},
    {"reference delete units LT --yes", "reference delete units QQ --yes"},
    {"reference set partners BUSINESSID=ACME", "reference set partners PARTNERNAME=x"},
    {"reference set users USERID=ann USERNAME=Ann", "reference set users USERNAME=x"},
    {"reference set currencies CURRENCYCODE=EUR", "reference set currencies DESCRIPTION=x"},
    {"unit list", "unit list x", 2},
    {"unit delete BX --yes", "unit delete QQ --yes"},

    {"product new A1 Pen UNITCODE=EA BUSINESSPARTNERID=1 BUYFROMPARTNUMBER=S1", "product new A1 Pen NOPE=1"},
    {"product new A2 Ink", "product new A2", 2},
    {"product set A1 PRODUCTREMARK=x", "product set A9 PRODUCTREMARK=x"},
    {"product show A1", "product show A9"},
    {"show A1", "show A9"},
    {"find pen", "find nothing"},
    {"product check A1 --quantity 1", "product check A9 --quantity 1"},
    {"product alternatives A1 --add A2", "product alternatives A1 --add A1"},
    {"product images A1 --picture a.jpg", "product images A9"},
    {"product attach A1 units.csv", "product attach A1 nowhere.pdf"},
    {"product attachments A1", "product attachments A9"},
    {"product detach A1 units.csv --yes", "product detach A1 nowhere.pdf --yes"},
    {"product disable A1", "product disable A9"},
    {"product enable A1", "product enable A9"},

    {"property new COLOUR --type enum", "property new", 2},
    {"property new SHAPE", "property new", 2},
    {"property list", "property list x", 2},
    {"property choices COLOUR --add red", "property choices NOPE"},
    {"property set COLOUR --default red", "property set NOPE --default red"},
    {"property delete SHAPE --yes", "property delete NOPE --yes"},
    {"product properties A1 COLOUR=red", "product properties A1 NOPE=x"},
    {"group new pens", "group new", 2},
    {"group list", "group list x", 2},
    {"group add pens COLOUR", "group add pens NOPE"},
    {"group apply pens --yes", "group apply nope"},
    {"group remove pens COLOUR", "group remove nope COLOUR"},
    {"group delete pens --yes", "group delete nope --yes"},

    {"category new Writing", "category new", 2},
    {"category new Spare", "category new", 2},
    {"category list", "category list x", 2},
    {"category add Writing A1 A2", "category add Nope A1"},
    {"category remove Writing A2", "category remove Spare A1"},
    {"category set Spare --name Other", "category set Nope --name x"},
    {"category delete Other --yes", "category delete Nope --yes"},

    {"price set A1 --from 2026-01-01 --to-quantity 9 --currency EUR --price 2",
     "price set A1 --from 2026-01-01 --to-quantity 9 --currency QQQ --price 2"},
    {"price list A1", "price list A9"},
    {"price for A1 --quantity 2 --currency EUR --date 2026-02-01", "price for A1 --quantity 99 --currency EUR"},
    {"price change A1 --by 3% --holding-on 2026-01-01 --yes", "price change A2 --by 3% --yes"},
    {"price end A1 --on 2026-06-30", "price end A2 --on 2026-06-30"},
    {"price delete A1 --yes", "price delete A2 --yes"},

    {"folder new ann Desk", "folder new bob Desk"},
    {"folder list ann", "folder list bob"},
    {"favorite add ann A1 --folder 1", "favorite add bob A1"},
    {"favorite list ann", "favorite list bob"},
    {"folder show ann Desk", "folder show ann Nope"},
    {"folder rename ann Desk Shelf", "folder rename ann Nope Shelf"},
    {"favorite remove ann A1", "favorite remove ann A2"},
    {"folder delete ann Shelf --yes", "folder delete ann Nope --yes"},

    {"catalog load nodes.csv --name House", "catalog load nowhere.csv --name House"},
    {"catalog new Next", "catalog new", 2},
    {"catalog copy House --name Third", "catalog copy Nope"},
    {"catalog rename Third Spare", "catalog rename Nope Spare"},
    {"catalog activate House", "catalog activate Nope"},
    {"catalog list", "catalog list x", 2},
    {"catalog show House", "catalog show Nope"},
    {"catalog tree House", "catalog tree Nope"},
    {"node show House/Office", "node show House/Nope"},
    {"node new House/ Paper", "node new House/ Office"},
    {"node move House/Paper House/Office", "node move House/Nope House/"},
    {"node rename House/Office/Paper Ink", "node rename House/Nope Ink"},
    {"node delete House/Office/Ink --yes", "node delete House/Nope --yes"},
    {"rights assign ann House", "rights assign bob House"},
    {"rights grant ann House/Office", "rights grant bob House"},
    {"rights populate ann", "rights populate bob"},
    {"rights show ann", "rights show bob"},
    {"rights explain ann House/Office", "rights explain ann House/Nope"},
    {"rights revoke ann House/Office", "rights revoke ann Spare"},
    {"execute shop.sql", "execute nowhere.sql"},
    {"shopout tie House --node House/Office 1", "shopout tie Nope 1"},
    {"shopout list", "shopout list x", 2},
    {"shopout show House/Office", "shopout show House/Nope"},
    {"shopout account ann House/Office", "shopout account ann House/Nope"},
    {"shopout partners House --node House/Office", "shopout partners Nope"},
    {"shopout replace House 1", "shopout replace House 9"},
    {"shopout untie House --yes", "shopout untie Nope --yes"},
    {"catalog migrate House Spare", "catalog migrate House House"},
    {"catalog succeed Spare House --yes", "catalog succeed House House --yes"},
    {"catalog expire Spare", "catalog expire Nope"},
    {"catalog deactivate House", "catalog deactivate Nope"},
    {"catalog delete Next --yes", "catalog delete Nope --yes"},
    {"rights clear ann --yes", "rights clear bob --yes"},

    {"unspsc load codes.xml", "unspsc load nowhere.xml"},
    {"unspsc tree", "unspsc tree 99"},
    {"preview --update-only records.xml", "preview nowhere.xml"},
    {"upload records.xml", "upload nowhere.xml"},
    {"prices preview prices.xml", "prices preview nowhere.xml"},
    {"prices upload prices.xml", "prices upload nowhere.xml"},
    {"import parts.csv", "import nowhere.csv"},
    {"export products", "export products --category Nope"},
    {"uploads list", "uploads list x", 2},
    {"uploads show 1", "uploads show 99"},
    {"uploads diff 1", "uploads diff 99"},
    {"uploads undo 1 --yes", "uploads undo 99 --yes", 1, SampleKind::ordinary, 3},
    {"uploads forget --before 2020-01-01", "uploads forget", 2},

    {"product delete A2 --yes", "product delete A9 --yes"},
    {"doctor --days 0", "doctor --mend NO.PE --yes", 1, SampleKind::ordinary, 3},
    {"store check", "store check --store nowhere.db", 4, SampleKind::on_file, 3},
    {"store backup backup.db", "store backup nowhere/backup.db", 4, SampleKind::on_file},
    {"store copy backup.db copy.db", "store copy nowhere.db other.db", 4, SampleKind::on_file},
    {"store restore backup.db", "store restore nowhere.db", 4, SampleKind::on_file},
};

}  // namespace mercato::test
