-- SPDX-License-Identifier: Apache-2.0
-- What translated statements call on the server. The same calls give the same answers and the same failures on every
-- store. {schema} is the quoted name of the schema that all of it lies in; running this file again changes nothing.
-- A text is compared under COLLATE "C" where bytes decide and under the collation below where order does, whatever
-- collation a caller's column has. Strings with a backslash are E'' strings, which no setting gives another meaning.

-- The order of texts, as people expect it: without regard to case, marks in any order. It sorts keys (see below), and
-- keys that it passes over the difference of stand in the order of their bytes.
CREATE COLLATION IF NOT EXISTS {schema}.mercato (provider = icu, locale = 'und-u-ks-level2-kk-true', deterministic = true);

-- Texts: when two are the same

-- A text with characters beyond ASCII: decomposed, each character folded, composed. Folding is making small, but for the
-- letters that have a second small form. The long s and the iota below a letter stay what they are.
CREATE OR REPLACE FUNCTION {schema}.mercato_folded_wide(value text) RETURNS text
LANGUAGE plpgsql IMMUTABLE STRICT PARALLEL SAFE AS $body$
DECLARE
  folded text;
BEGIN
  -- Below U+0300, where the marks begin, all but two characters fold alone: the micro sign and the capital I with a dot.
  IF value !~ E'[^\\u0001-\\u00b4\\u00b6-\\u012f\\u0131-\\u02ff]' COLLATE "C" THEN
    RETURN lower(value COLLATE {schema}.mercato);
  END IF;
  folded := lower(normalize(value, NFD) COLLATE {schema}.mercato);
  folded := replace(replace(folded COLLATE "C", E'\u03C2', E'\u03C3'), E'\u00B5', E'\u03BC');
  -- Rare ones: Greek symbols, old forms of Cyrillic letters, and Cherokee, whose letters fold to the capital ones.
  IF folded ~ E'[\\u03d0\\u03d1\\u03d5\\u03d6\\u03f0\\u03f1\\u03f5\\u13f8-\\u13fd\\u1c80-\\u1c88\\uab70-\\uabbf]' COLLATE "C" THEN
    folded := translate(folded, 'ϐϑϕϖϰϱϵᲀᲁᲂᲃᲄᲅᲆᲇᲈᏸᏹᏺᏻᏼᏽ'
      'ꭰꭱꭲꭳꭴꭵꭶꭷꭸꭹꭺꭻꭼꭽꭾꭿꮀꮁꮂꮃꮄꮅꮆꮇꮈꮉꮊꮋꮌꮍꮎꮏꮐꮑꮒꮓꮔꮕꮖꮗꮘꮙꮚꮛꮜꮝꮞꮟꮠꮡꮢꮣꮤꮥꮦꮧꮨꮩꮪꮫꮬꮭꮮꮯꮰꮱꮲꮳꮴꮵꮶꮷꮸꮹꮺꮻꮼꮽꮾꮿ',
      'βθφπκρεвдосттъѣꙋᏰᏱᏲᏳᏴᏵ'
      'ᎠᎡᎢᎣᎤᎥᎦᎧᎨᎩᎪᎫᎬᎭᎮᎯᎰᎱᎲᎳᎴᎵᎶᎷᎸᎹᎺᎻᎼᎽᎾᎿᏀᏁᏂᏃᏄᏅᏆᏇᏈᏉᏊᏋᏌᏍᏎᏏᏐᏑᏒᏓᏔᏕᏖᏗᏘᏙᏚᏛᏜᏝᏞᏟᏠᏡᏢᏣᏤᏥᏦᏧᏨᏩᏪᏫᏬᏭᏮᏯ');
  END IF;
  -- The engine's composing loses a U+11A7 behind a syllable, which it takes for its last consonant. It joins with nothing.
  IF strpos(folded COLLATE "C", E'\u11A7') > 0 THEN
    RETURN (SELECT string_agg(normalize(part, NFC), E'\u11A7' ORDER BY place)
            FROM unnest(string_to_array(folded COLLATE "C", E'\u11A7')) WITH ORDINALITY AS parts(part, place));
  END IF;
  RETURN normalize(folded, NFC);
END $body$;

-- The one form of all texts that differ in case and composition only.
CREATE OR REPLACE FUNCTION {schema}.mercato_folded(value text) RETURNS text
LANGUAGE sql IMMUTABLE PARALLEL SAFE
RETURN CASE WHEN octet_length(value) = char_length(value) THEN lower(value COLLATE "C")
            ELSE {schema}.mercato_folded_wide(value) END;

-- The one form of all texts that are the same for the store: trailing blanks do not count either.
CREATE OR REPLACE FUNCTION {schema}.mercato_key(value text) RETURNS text
LANGUAGE sql IMMUTABLE PARALLEL SAFE
RETURN rtrim({schema}.mercato_folded(value));
