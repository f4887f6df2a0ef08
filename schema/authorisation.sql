-- Who may see and order what: assignments of users and profiles, and the flattened nodes of users.

-- Null in NODEID makes the row an assignment of the whole catalogue. Rows can stand here twice.
CREATE TABLE CATALOGNODEBYUSER (
  USERID nvarchar(60) NULL,
  ISPROFILE smallint NULL DEFAULT 0,
  CATALOGID int NULL,
  NODEID int NULL,
  PARENTNODEID int NULL,
  LEVEL smallint NULL DEFAULT 0,
  VIEWONLY smallint NULL DEFAULT 0,
  SHAREDID nvarchar(100) NULL,
  SHAREDPWD nvarchar(100) NULL
);

-- Every question about the rights of a user.
CREATE INDEX IX_CATALOGNODEBYUSER_USERID ON CATALOGNODEBYUSER (USERID, CATALOGID, NODEID);
-- The rights on a catalogue that gets a successor.
CREATE INDEX IX_CATALOGNODEBYUSER_CATALOGID ON CATALOGNODEBYUSER (CATALOGID, NODEID);
-- The nodes of that catalogue on which somebody has a right.
CREATE INDEX IX_CATALOGNODEBYUSER_NODEID ON CATALOGNODEBYUSER (NODEID);

-- Rebuilt as a whole per user. Two rights on one path give a node twice.
CREATE TABLE USERNODE (
  USERID nvarchar(60) NULL,
  CATALOGID int NULL,
  NODEID int NULL
);

-- Whether a user sees a node, all nodes of a user, and their rebuilding.
CREATE INDEX IX_USERNODE_USERID ON USERNODE (USERID, NODEID);
