-- Products that users have marked, and the buyers of products that have several.

-- No key: a marking that is no longer present makes room for a second row of the same values.
CREATE TABLE FAVORITES (
  USERID nvarchar(60) NULL,
  PRODUCTID int NULL,
  WAREHOUSEFAVORITE smallint NULL DEFAULT 0,
  FOLDERID int NULL,
  PRESENT int NULL
);

-- Whether a favourite exists, its deletion, and all favourites of a user who goes.
CREATE INDEX IX_FAVORITES_USERID ON FAVORITES (USERID, PRODUCTID);
-- The favourites of a product that goes, and those of a catalogue that gets a successor.
CREATE INDEX IX_FAVORITES_PRODUCTID ON FAVORITES (PRODUCTID);
-- The favourites in a folder that goes.
CREATE INDEX IX_FAVORITES_FOLDERID ON FAVORITES (FOLDERID);

CREATE TABLE PRODUCTBUYER (
  PRODUCTID int NOT NULL,
  USERID nvarchar(60) NOT NULL,
  PRIMARY KEY (PRODUCTID, USERID)
);

-- The products of a buyer.
CREATE INDEX IX_PRODUCTBUYER_USERID ON PRODUCTBUYER (USERID);
