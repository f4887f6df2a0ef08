-- Properties of products: what there is, the values allowed, the values held.

-- An external property is not owned by a group, so its values survive a change of group. Names need not be unique.
CREATE TABLE PROPERTY (
  PROPERTYID int NOT NULL IDENTITY(1,1) PRIMARY KEY,
  PROPERTYNAME nvarchar(255) NOT NULL,
  DATATYPE smallint NULL,
  "EXTERNAL" bit NULL DEFAULT 0,
  DEFAULTVALUE nvarchar(4000) NULL
);

-- Every property of every uploaded record.
CREATE INDEX IX_PROPERTY_PROPERTYNAME ON PROPERTY (PROPERTYNAME);
-- The properties whose names hold a word.
CREATE FULLTEXT INDEX ON PROPERTY (PROPERTYNAME);

CREATE TABLE PROPERTYENUM (
  PROPERTYID int NOT NULL,
  SEQUENCEID int NOT NULL,
  VALUE nvarchar(4000) NULL,
  PRIMARY KEY (PROPERTYID, SEQUENCEID)
);

-- The value is text whatever the type of the property.
CREATE TABLE PRODUCTPROPVALUE (
  PROPERTYID int NOT NULL,
  PRODUCTID int NOT NULL,
  VALUE nvarchar(4000) NULL,
  PRIMARY KEY (PROPERTYID, PRODUCTID)
);

-- The values of a product: read, aligned with its group, deleted with it.
CREATE INDEX IX_PRODUCTPROPVALUE_PRODUCTID ON PRODUCTPROPVALUE (PRODUCTID);
