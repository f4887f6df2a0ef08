-- The journal of uploads: what was loaded, by whom, what it came to, and what it changed. The names of these tables begin
-- like that of the versions, since no class of the library knows them: what stands above it does (`exchange/journal/`).

-- One upload, or one job of the HTTP host: accepted, waiting, running, ended. Of one that runs OWNER says which process has
-- it and LEASEUNTIL, in universal time as all days of this table, until when: a process that is gone renews it no more.
CREATE TABLE MERCATO_UPLOAD (
  UPLOADID int NOT NULL IDENTITY(1,1) PRIMARY KEY,
  KIND nvarchar(20) NOT NULL,
  MODE nvarchar(20) NOT NULL,
  STATE nvarchar(20) NOT NULL,
  USERID nvarchar(60) NULL,
  FILENAME nvarchar(255) NULL,
  FILEHASH nvarchar(64) NULL,
  ACCEPTED datetime NOT NULL,
  STARTED datetime NULL,
  ENDED datetime NULL,
  TOTALCOUNT int NULL,
  READCOUNT int NULL,
  DONECOUNT int NULL,
  FINDINGCOUNT int NULL,
  INSERTED int NULL,
  UPDATED int NULL,
  UNCHANGED int NULL,
  REFUSED int NULL,
  LEFTCOUNT int NULL,
  UNDOES int NULL,
  OPTIONS ntext NULL,
  STOPPEDBY ntext NULL,
  OWNER nvarchar(100) NULL,
  LEASEUNTIL datetime NULL
);

-- The earlier uploads of the same file.
CREATE INDEX IX_MERCATO_UPLOAD_FILEHASH ON MERCATO_UPLOAD (FILEHASH);
-- The jobs that wait, and those that run.
CREATE INDEX IX_MERCATO_UPLOAD_STATE ON MERCATO_UPLOAD (STATE, UPLOADID);
-- What has undone an upload.
CREATE INDEX IX_MERCATO_UPLOAD_UNDOES ON MERCATO_UPLOAD (UNDOES);

-- A part of an upload before its rows are told apart: which rows it can touch, and how they were before it. A part that is
-- done has its rows in MERCATO_UPLOAD_ROW instead; what stands here was cut short.
CREATE TABLE MERCATO_UPLOAD_PART (
  UPLOADID int NOT NULL,
  PART int NOT NULL,
  REACH ntext NOT NULL,
  IMAGES ntext NULL,
  PRIMARY KEY (UPLOADID, PART)
);

-- Rows of one table that an upload has changed: what each was and what it became, as the columns that are not Null. Without
-- the one the row was inserted, without the other deleted. AFTERIMAGE has a line for each: what people know it by, before,
-- after, with tabs between them; of a changed row what is other after. SEQUENCE is the number of the last one. In journals of older releases each row stands by
-- itself, in all six columns.
CREATE TABLE MERCATO_UPLOAD_ROW (
  UPLOADID int NOT NULL,
  SEQUENCE int NOT NULL,
  TABLENAME nvarchar(50) NOT NULL,
  RECORD nvarchar(255) NULL,
  BEFOREIMAGE ntext NULL,
  AFTERIMAGE ntext NULL,
  PRIMARY KEY (UPLOADID, SEQUENCE)
);

-- What an upload said of a record: OUTCOME is refused, dropped, cut, left, accepted or missing, and LINE that of the file where it is known.
CREATE TABLE MERCATO_UPLOAD_FINDING (
  UPLOADID int NOT NULL,
  SEQUENCE int NOT NULL,
  OUTCOME nvarchar(20) NOT NULL,
  RECORD nvarchar(255) NULL,
  LINE int NULL,
  FIELD nvarchar(255) NULL,
  VALUE ntext NULL,
  REASON ntext NULL,
  PRIMARY KEY (UPLOADID, SEQUENCE)
);
