-- Catalogues and their node trees.

-- Names need not be unique. A copy of a copy lengthens its name, so there is room for many generations.
CREATE TABLE CATALOG (
  CATALOGID int NOT NULL IDENTITY(1,1) PRIMARY KEY,
  CATALOGNAME nvarchar(255) NOT NULL,
  CATALOGDESCRIPTION nvarchar(1000) NULL,
  ACTIVE smallint NULL DEFAULT 0,
  APPROVALCATALOG smallint NULL DEFAULT 0,
  SUPPLIERCATALOGID nvarchar(50) NULL,
  VERSION nvarchar(50) NULL,
  CATALOGLAYOUT smallint NULL DEFAULT 0,
  ICONID int NULL
);

-- A node without a parent is a root. The level of a node is not stored.
CREATE TABLE CATALOGNODE (
  NODEID int NOT NULL IDENTITY(1,1) PRIMARY KEY,
  CATALOGID int NULL,
  PARENTNODEID int NULL,
  NODENAME nvarchar(255) NOT NULL,
  NODEDESCRIPTION nvarchar(1000) NULL,
  SEQUENCE int NULL,
  NODETYPE int NULL,
  CATEGORYID int NULL,
  NODEURL nvarchar(1000) NULL,
  ICONID int NULL,
  SHOPOUT smallint NULL DEFAULT 0
);

-- The nodes and the roots of a catalogue, in the order of their ids.
CREATE INDEX IX_CATALOGNODE_CATALOGID ON CATALOGNODE (CATALOGID, NODEID);
-- From a product's categories to the catalogues it can be reached in.
CREATE INDEX IX_CATALOGNODE_CATEGORYID ON CATALOGNODE (CATEGORYID, CATALOGID);
-- The node of the same name in a catalogue's successor, once for every node on which somebody has a right.
CREATE INDEX IX_CATALOGNODE_NODENAME ON CATALOGNODE (NODENAME, CATALOGID);
-- One level down the tree, when the nodes of a user are laid out flat.
CREATE INDEX IX_CATALOGNODE_PARENTNODEID ON CATALOGNODE (PARENTNODEID);
-- The nodes whose names hold a word.
CREATE FULLTEXT INDEX ON CATALOGNODE (NODENAME);
