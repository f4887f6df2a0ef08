-- The UNSPSC tree, one row per segment of two digits. PARENTCODE is the text of all segments above, empty for the top.
-- The order of the columns counts: the upload inserts without naming them.

CREATE TABLE UNSPSCCODES (
  PARENTCODE nvarchar(20) NOT NULL,
  UNSPSCCODE nvarchar(2) NOT NULL,
  LEVELNUMBER smallint NULL,
  DESCRIPTION nvarchar(500) NULL,
  PRIMARY KEY (PARENTCODE, UNSPSCCODE)
);

-- The codes of a level, alone or under one parent, in the order in which they are listed.
CREATE INDEX IX_UNSPSCCODES_LEVELNUMBER ON UNSPSCCODES (LEVELNUMBER, PARENTCODE, UNSPSCCODE);
-- The codes whose descriptions hold a word.
CREATE FULLTEXT INDEX ON UNSPSCCODES (DESCRIPTION);
