-- Business partners tied to a node, or with Null in NODEID to a whole catalogue. The ids are 16 bits wide, as they
-- are in every call that handles them. Ties can stand here twice.

CREATE TABLE CATALOGNODEBYBP (
  NODEID smallint NULL,
  CATALOGID smallint NULL,
  BUSINESSPARTNERID smallint NULL
);

-- The partners of a catalogue or of one of its nodes.
CREATE INDEX IX_CATALOGNODEBYBP_CATALOGID ON CATALOGNODEBYBP (CATALOGID, NODEID);
-- The partners of a shop-out folder.
CREATE INDEX IX_CATALOGNODEBYBP_NODEID ON CATALOGNODEBYBP (NODEID);
-- The catalogues of a partner, and whether a partner is in use.
CREATE INDEX IX_CATALOGNODEBYBP_BUSINESSPARTNERID ON CATALOGNODEBYBP (BUSINESSPARTNERID);
