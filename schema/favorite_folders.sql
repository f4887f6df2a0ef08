-- Folders of a user's favourites. The top level is folder 0 of FAVORITES and has no row.

CREATE TABLE FAVORITEFOLDERS (
  FOLDERID int NOT NULL IDENTITY(1,1) PRIMARY KEY,
  USERID nvarchar(60) NOT NULL,
  FOLDERNAME nvarchar(255) NOT NULL
);

-- The folders of a user.
CREATE INDEX IX_FAVORITEFOLDERS_USERID ON FAVORITEFOLDERS (USERID);
