-- Units of measure and hazardous classes.

CREATE TABLE UNIT (
  UNITCODE nvarchar(50) NOT NULL PRIMARY KEY,
  UNITDESCRIPTION nvarchar(255) NULL
);

-- Every uploaded record names its unit by code or by description. Two units may share a description.
CREATE INDEX IX_UNIT_UNITDESCRIPTION ON UNIT (UNITDESCRIPTION);

CREATE TABLE HAZARDOUSCLASS (
  CLASSCODE nvarchar(50) NOT NULL PRIMARY KEY,
  CLASSDESCRIPTION nvarchar(255) NULL
);
