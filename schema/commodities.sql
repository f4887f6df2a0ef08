-- Reference tables of the product master: commodities, manufacturers, tax codes.

-- DESCRIPTION is as wide as that of UNSPSCCODES: one upload writes the same text to both.
CREATE TABLE COMMODITY (
  COMMODITYCODE nvarchar(50) NOT NULL PRIMARY KEY,
  DESCRIPTION nvarchar(500) NULL,
  USERID nvarchar(60) NULL,
  CHARGETYPECODE nvarchar(50) NULL,
  TAXCODE nvarchar(50) NULL,
  PROPERTYGROUPID int NULL,
  BISITEMCODE nvarchar(50) NULL
);

-- Whether a property group may go.
CREATE INDEX IX_COMMODITY_PROPERTYGROUPID ON COMMODITY (PROPERTYGROUPID);
-- Whether a user may go.
CREATE INDEX IX_COMMODITY_USERID ON COMMODITY (USERID);

CREATE TABLE MANUFACTURER (
  MANUFACTURERID nvarchar(50) NOT NULL PRIMARY KEY,
  MANUFACTURERNAME nvarchar(255) NOT NULL
);

CREATE TABLE TAXCODES (
  TAXCODE nvarchar(50) NOT NULL PRIMARY KEY,
  DESCRIPTION nvarchar(255) NULL,
  LEDGERACCOUNT nvarchar(50) NULL
);
