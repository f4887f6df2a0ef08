-- The product master, and the contract lines that products can belong to.
-- Text columns are as wide as the bulk upload cuts them, where it cuts: 50, 255 and 32 characters.
-- GTIN is wider than a GTIN: an insert stores a longer one as it stands.

CREATE TABLE PRODUCT (
  PRODUCTID int NOT NULL IDENTITY(1,1) PRIMARY KEY,
  UNITCODE nvarchar(50) NULL,
  PROPERTYGROUPID int NULL,
  MANUFACTURERID nvarchar(50) NULL,
  PARTNUMBER nvarchar(50) NOT NULL,
  PRODUCTDESCRIPTION nvarchar(255) NOT NULL,
  CONFIGURABLE smallint NULL DEFAULT 0,
  PRODUCTREMARK nvarchar(255) NULL,
  IMAGEFILENAME nvarchar(255) NULL,
  TECHNICALIMAGE nvarchar(255) NULL,
  URL nvarchar(255) NULL,
  COMMODITYCODE nvarchar(50) NULL,
  CONTRACTCODE nvarchar(50) NULL,
  NUMBER smallint NULL,
  BUSINESSPARTNERID int NULL,
  PRODUCTXML ntext NULL,
  BUYFROMPARTNUMBER nvarchar(100) NULL,
  BUYFROMCONTACTEMAIL nvarchar(100) NULL,
  BUYFROMCONTACTINFO nvarchar(255) NULL,
  PRODUCTEFFECTIVITYDATE datetime NULL,
  PRODUCTEXPIRYDATE datetime NULL,
  DISABLED smallint NULL DEFAULT 0,
  MINORDERQTY float NULL,
  MULTIPLEOF float NULL,
  UNSPSCCODE nvarchar(20) NULL,
  USERID nvarchar(60) NULL,
  MULTIPLEBUYER smallint NULL DEFAULT 0,
  MFRPARTNUMBER nvarchar(50) NULL,
  LOTSIZE float NULL,
  DELIVERYLEADTIME float NULL,
  CLASSCODE nvarchar(50) NULL,
  CLASSIFICATION nvarchar(32) NULL,
  SERVICEITEM smallint NULL DEFAULT 0,
  STOCKITEM smallint NULL DEFAULT 0,
  GTIN nvarchar(50) NULL,
  PRICINGMETHOD nvarchar(50) NULL,
  DATEUPDATED datetime NULL
);

-- Every record of both uploads, and the lookup by supplier part number.
CREATE INDEX IX_PRODUCT_BUYFROMPARTNUMBER ON PRODUCT (BUYFROMPARTNUMBER);
-- The lookups by part number, and the search for the twins of favourites in a new catalogue.
CREATE INDEX IX_PRODUCT_PARTNUMBER ON PRODUCT (PARTNUMBER);
-- The products of a supplier, and whether a partner may go.
CREATE INDEX IX_PRODUCT_BUSINESSPARTNERID ON PRODUCT (BUSINESSPARTNERID);
-- The products of a commodity, and whether it may go.
CREATE INDEX IX_PRODUCT_COMMODITYCODE ON PRODUCT (COMMODITYCODE);
-- Whether a unit may go: without the index the free ones would cost a pass over all products.
CREATE INDEX IX_PRODUCT_UNITCODE ON PRODUCT (UNITCODE);
-- Whether a hazardous class may go.
CREATE INDEX IX_PRODUCT_CLASSCODE ON PRODUCT (CLASSCODE);
-- The products of a buyer, and whether a user may go.
CREATE INDEX IX_PRODUCT_USERID ON PRODUCT (USERID);
-- Whether a UNSPSC code may go.
CREATE INDEX IX_PRODUCT_UNSPSCCODE ON PRODUCT (UNSPSCCODE);
-- The products of a property group, when the group has changed, and whether it may go.
CREATE INDEX IX_PRODUCT_PROPERTYGROUPID ON PRODUCT (PROPERTYGROUPID);
-- The fields of a product known by its trade item number.
CREATE INDEX IX_PRODUCT_GTIN ON PRODUCT (GTIN);
-- The products that are services, which are few.
CREATE INDEX IX_PRODUCT_SERVICEITEM ON PRODUCT (SERVICEITEM);
-- All searches for a part of a number or of a description.
CREATE FULLTEXT INDEX ON PRODUCT (PARTNUMBER, PRODUCTDESCRIPTION, BUYFROMPARTNUMBER, MFRPARTNUMBER);

-- Read only here. The contract side keeps it and may repeat a line.
CREATE TABLE CONTRACTLINES (
  CONTRACTCODE nvarchar(50) NULL,
  NUMBER smallint NULL,
  OFFICEDESCRIPTION nvarchar(255) NULL
);

-- The two contract fields of an uploaded record.
CREATE INDEX IX_CONTRACTLINES_CONTRACTCODE ON CONTRACTLINES (CONTRACTCODE, NUMBER);
