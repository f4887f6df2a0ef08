// SPDX-License-Identifier: Apache-2.0
// Files a product and reads it again, with the client that generate.py made.
//   program.js STORE
import { type Failure, Mercato, type Value } from "./mercato_client.js";

const mercato = new Mercato(["--store", process.argv[2]]);
const show = (...values: unknown[]) => console.log(values.map((each) => (typeof each === "string" ? each : JSON.stringify(each))).join(" "));

await mercato.execute({ sql: "INSERT INTO UNIT (UNITCODE, UNITDESCRIPTION) VALUES ('PC', 'Piece')" });
const filed = await mercato.Product.Insert20({
  iFields: ["PARTNUMBER", "PRODUCTDESCRIPTION", "UNITCODE"],
  iValues: ["A-1", "Desk lamp", "PC"],
});
show("product", filed.value, filed.outcome);
const product = await mercato.Product.GetProductEx({ i_lProductID: filed.value });
const fields = new Map<Value, Value>(product.value.items);
show(fields.get("PARTNUMBER"), fields.get("PRODUCTDESCRIPTION"), fields.get("UNITCODE"));

// An object of one's own keeps its transaction from call to call.
const own = (await mercato.create({ progId: "Mercato.Unit" })).object;
const units = (await mercato.call({ object: own, method: "GetAllUnits" })).value;
show(units !== null && typeof units === "object" && "items" in units ? units.items : units);
show((await mercato.release({ object: own })).outcome);

// Rows are read by pages.
const sql = "SELECT FIELDNAME FROM (SELECT 'A' AS FIELDNAME UNION SELECT 'B' UNION SELECT 'C') ALLFIELDS ORDER BY FIELDNAME";
const page = await mercato.execute({ sql, rows: 2 });
show(page.rows, (await mercato.fetch({ cursor: page.cursor ?? 0 })).rows);

// What fails is thrown, with the number that says what it was.
await mercato.Product.GetProductEx({ i_lProductID: 99 }).catch((failure: Failure) => {
  show(failure.code, failure.number, failure.source, failure.description);
});
await mercato.request("nosuch", {}).catch((failure: Failure) => show(failure.code, failure.number ?? null, failure.message));
await mercato.close();
