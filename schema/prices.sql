-- Catalogue price lines. A line without a group has Null in GROUPBY, and two such lines of one product, day and
-- quantity are the same line to the key.

CREATE TABLE CATALOGPRODUCTPRICE (
  PRODUCTID int NOT NULL,
  PRICEEFFECTIVEDATE datetime NOT NULL,
  QUANTITYTO float NOT NULL,
  GROUPBY nvarchar(50) NULL,
  CURRENCYCODE nvarchar(10) NULL,
  PRICEEXPIRYDATE datetime NULL,
  PRICE money NULL,
  DISCOUNTPERC float NULL,
  DISCOUNTAMOUNT money NULL,
  PRICETAXPERCENTAGE float NULL,
  FREIGHTCOST money NULL,
  UNIQUE (PRODUCTID, PRICEEFFECTIVEDATE, QUANTITYTO, GROUPBY)
);
