-- What hangs on a product and goes with it: alternatives and attached files.

-- A pair says that one product is offered in place of another. A pair can stand here twice.
CREATE TABLE ALTERNATIVEPRODUCTS (
  ORIGINALPRODUCT int NULL,
  ALTERNATIVEPRODUCT int NULL
);

-- The alternatives of a product, and their deletion with it.
CREATE INDEX IX_ALTERNATIVEPRODUCTS_ORIGINALPRODUCT ON ALTERNATIVEPRODUCTS (ORIGINALPRODUCT);

-- The files themselves lie in a folder per product below the web root.
CREATE TABLE ATTACHEDFILE (
  PRODUCTID int NULL,
  FILENAME nvarchar(255) NULL
);

-- The deletion of a product.
CREATE INDEX IX_ATTACHEDFILE_PRODUCTID ON ATTACHEDFILE (PRODUCTID);
