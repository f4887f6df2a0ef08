# SPDX-License-Identifier: Apache-2.0
"""Files a product and reads it again, with the client that generate.py made.
  program.py STORE"""
import json
import sys

from mercato_client import Failure, Mercato


def show(*values):
    print(*(each if isinstance(each, str) else json.dumps(each) for each in values))


with Mercato("--store", sys.argv[1]) as mercato:
    mercato.execute("INSERT INTO UNIT (UNITCODE, UNITDESCRIPTION) VALUES ('PC', 'Piece')")
    filed = mercato.Product.Insert20(["PARTNUMBER", "PRODUCTDESCRIPTION", "UNITCODE"], ["A-1", "Desk lamp", "PC"])
    show("product", filed["value"], filed["outcome"])
    fields = dict(mercato.Product.GetProductEx(filed["value"])["value"]["items"])
    show(fields["PARTNUMBER"], fields["PRODUCTDESCRIPTION"], fields["UNITCODE"])

    # An object of one's own keeps its transaction from call to call.
    own = mercato.create("Mercato.Unit")["object"]
    show(mercato.call(own, "GetAllUnits")["value"]["items"])
    show(mercato.release(object=own)["outcome"])

    # Rows are read by pages.
    page = mercato.execute("SELECT FIELDNAME FROM (SELECT 'A' AS FIELDNAME UNION SELECT 'B' UNION SELECT 'C') ALLFIELDS ORDER BY FIELDNAME", rows=2)
    show(page["rows"], mercato.fetch(page["cursor"])["rows"])

    # What fails is raised, with the number that says what it was.
    try:
        mercato.Product.GetProductEx(99)
    except Failure as failure:
        show(failure.code, failure.number, failure.source, failure.description)
    try:
        mercato.request("nosuch", {})
    except Failure as failure:
        show(failure.code, failure.number, str(failure))
