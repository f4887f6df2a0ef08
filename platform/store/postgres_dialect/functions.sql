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
  -- Most characters fold alone: below U+0300, where the marks begin, all but the micro sign and the capital I with a dot;
  -- the letters of Greek (but the capital sigma) and Cyrillic, the signs of units, arrows, mathematics, and the letters and signs of East Asia.
  IF value !~ E'[^\\u0001-\\u00b4\\u00b6-\\u012f\\u0131-\\u02ff\\u0391-\\u03a1\\u03a4-\\u03a9\\u03b1-\\u03c1\\u03c3-\\u03c9\\u0410-\\u044f\\u2010-\\u2027\\u2030-\\u205e\\u2103\\u2190-\\u22ff\\u3001-\\u3029\\u4e00-\\u9fff\\uff01-\\uffee]' COLLATE "C" THEN
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

-- LIKE, with all of its forms: % any characters, _ one, [a-f] and [^a] one of or none of a set. All else is itself
-- without regard to case and composition. Accents and trailing blanks count on both sides.

-- The characters as a regular expression that matches them alone.
CREATE OR REPLACE FUNCTION {schema}.mercato_quoted(characters text) RETURNS text
LANGUAGE sql IMMUTABLE PARALLEL SAFE
RETURN regexp_replace(characters, E'[][\\\\.*+?^${}()|]', E'\\\\\\&', 'g');

-- The regular expression of those characters of a folded text that are in a set; nothing when none is. `members` is what
-- stands between the brackets, folded. A range holds what sorts between its ends.
CREATE OR REPLACE FUNCTION {schema}.mercato_like_set(members text, folded text) RETURNS text
LANGUAGE plpgsql IMMUTABLE STRICT PARALLEL SAFE AS $body$
DECLARE
  negated CONSTANT boolean := left(members, 1) = '^';
  firsts text[] := '{}';
  lasts text[] := '{}';
  place integer := CASE WHEN negated THEN 2 ELSE 1 END;
  looked_at text := '';
  fitting text := '';
  letter text;
  fits boolean;
BEGIN
  WHILE place <= char_length(members) LOOP
    firsts := firsts || substr(members, place, 1);
    IF substr(members, place + 1, 1) = '-' AND place + 2 <= char_length(members) THEN
      place := place + 2;
    END IF;
    lasts := lasts || substr(members, place, 1);
    place := place + 1;
  END LOOP;
  FOR at IN 1 .. char_length(folded) LOOP
    letter := substr(folded, at, 1);
    CONTINUE WHEN strpos(looked_at, letter) > 0;
    looked_at := looked_at || letter;
    fits := negated;
    FOR range IN 1 .. cardinality(firsts) LOOP
      IF letter = firsts[range] OR letter = lasts[range] OR
         (firsts[range] <> lasts[range] AND
          rtrim(letter) COLLATE {schema}.mercato BETWEEN rtrim(firsts[range]) AND rtrim(lasts[range])) THEN
        fits := NOT negated;
        EXIT;
      END IF;
    END LOOP;
    IF fits THEN
      fitting := fitting || '|' || {schema}.mercato_quoted(letter);
    END IF;
  END LOOP;
  RETURN '(?:' || nullif(substr(fitting, 2), '') || ')';
END $body$;

-- `escape` is a character that takes the meaning from the one behind it, or empty.
CREATE OR REPLACE FUNCTION {schema}.mercato_like_escaped(pattern text, value text, escape text) RETURNS boolean
LANGUAGE plpgsql IMMUTABLE STRICT PARALLEL SAFE AS $body$
DECLARE
  folded CONSTANT text := {schema}.mercato_folded(value);
  expression text := '^';
  characters text := '';  -- that stand for themselves, up to the next wildcard: neighbours may compose
  place integer := 1;
  letter text;
  escaped boolean;
  size integer;
BEGIN
  WHILE place <= char_length(pattern) LOOP
    letter := substr(pattern, place, 1);
    place := place + 1;
    escaped := letter = escape AND place <= char_length(pattern);
    IF escaped THEN
      letter := substr(pattern, place, 1);
      place := place + 1;
    END IF;
    IF escaped OR letter NOT IN ('%', '_', '[') THEN
      characters := characters || letter;
      CONTINUE;
    END IF;
    expression := expression || {schema}.mercato_quoted({schema}.mercato_folded(characters));
    characters := '';
    IF letter = '%' THEN
      expression := expression || '.*';
    ELSIF letter = '_' THEN
      expression := expression || '.';
    ELSE
      -- A set ends at its first ]. One without an end matches nothing.
      size := strpos(substr(pattern, place), ']') - 1;
      IF size < 0 THEN
        RETURN false;
      END IF;
      expression := expression || {schema}.mercato_like_set({schema}.mercato_folded(substr(pattern, place, size)), folded);
      IF expression IS NULL THEN
        RETURN false;
      END IF;
      place := place + size + 1;
    END IF;
  END LOOP;
  expression := expression || {schema}.mercato_quoted({schema}.mercato_folded(characters)) || '$';
  RETURN folded ~ expression COLLATE "C";
END $body$;

CREATE OR REPLACE FUNCTION {schema}.mercato_like(pattern text, value text) RETURNS boolean
LANGUAGE sql IMMUTABLE PARALLEL SAFE
RETURN {schema}.mercato_like_escaped(pattern, value, '');

CREATE OR REPLACE FUNCTION {schema}.mercato_like(pattern text, value text, escape text) RETURNS boolean
LANGUAGE plpgsql IMMUTABLE STRICT PARALLEL SAFE AS $body$
BEGIN
  IF octet_length(escape) <> 1 THEN
    RAISE EXCEPTION 'The invalid escape character "%" was specified in a LIKE predicate', escape;
  END IF;
  RETURN {schema}.mercato_like_escaped(pattern, value, escape);
END $body$;

-- The trigrams of a text, three characters each: what a text index has of it. Signs with which numbers and names are
-- written in many ways (all of ASCII but letters and digits) are left out first, the frequent ones by the faster way. The
-- rest is cut into threes from its first character, its second and its third. A query that asks an index is short, so no
-- other process is started for it; and nothing but an index is to ask (COST): reading is faster without.
CREATE OR REPLACE FUNCTION {schema}.mercato_trigrams(value text) RETURNS tsvector
LANGUAGE plpgsql IMMUTABLE STRICT PARALLEL RESTRICTED COST 1000 AS $body$
DECLARE
  folded CONSTANT text := {schema}.mercato_folded(value);
  squeezed CONSTANT text := regexp_replace(
    replace(replace(replace(replace(replace(folded COLLATE "C", ' ', ''), '-', ''), '.', ''), '/', ''), ',', ''),
    E'[\\u0001-/:-@\\[-`{-\\u007f]+', '', 'g');
  size CONSTANT integer := char_length(squeezed);
BEGIN
  RETURN array_to_tsvector(string_to_array(rtrim(
    regexp_replace(left(squeezed, size / 3 * 3) COLLATE "C", '...', E'\\& ', 'g') ||
    regexp_replace(substr(squeezed, 2, (size - 1) / 3 * 3) COLLATE "C", '...', E'\\& ', 'g') ||
    regexp_replace(substr(squeezed, 3, (size - 2) / 3 * 3) COLLATE "C", '...', E'\\& ', 'g')), ' '));
END $body$;

-- A number cut to a whole one. Positions, lengths and counts come as any number; one beyond a long is far beyond all.
CREATE OR REPLACE FUNCTION {schema}.mercato_whole(number double precision) RETURNS bigint
LANGUAGE sql IMMUTABLE PARALLEL SAFE
RETURN least(greatest(trunc(number), -9e18), 9e18)::bigint;

-- Texts: changes and parts. Positions count characters from 1.

-- One letter stays one letter: a small sharp s has no capital here. So a text that the engine makes longer is changed
-- letter by letter, and those that have a capital of one letter beside that of two get it.
CREATE OR REPLACE FUNCTION {schema}.mercato_upper_wide(value text) RETURNS text
LANGUAGE plpgsql IMMUTABLE STRICT PARALLEL SAFE AS $body$
DECLARE
  stand_in CONSTANT text := E'\U0010FFFF';  -- for the sharp s, as it is the most frequent by far
  raised text := replace(upper(replace(value, 'ß', stand_in) COLLATE {schema}.mercato) COLLATE "C", stand_in, 'ß');
  letter text;
BEGIN
  IF char_length(raised) = char_length(value) AND strpos(value, stand_in) = 0 THEN
    RETURN raised;
  END IF;
  raised := '';
  FOR at IN 1 .. char_length(value) LOOP
    letter := translate(substr(value, at, 1), 'ᾀᾁᾂᾃᾄᾅᾆᾇᾐᾑᾒᾓᾔᾕᾖᾗᾠᾡᾢᾣᾤᾥᾦᾧᾳῃῳ', 'ᾈᾉᾊᾋᾌᾍᾎᾏᾘᾙᾚᾛᾜᾝᾞᾟᾨᾩᾪᾫᾬᾭᾮᾯᾼῌῼ');
    raised := raised || CASE WHEN char_length(upper(letter COLLATE {schema}.mercato)) = 1
                             THEN upper(letter COLLATE {schema}.mercato) ELSE letter END;
  END LOOP;
  RETURN raised;
END $body$;

CREATE OR REPLACE FUNCTION {schema}.mercato_upper(value text) RETURNS text
LANGUAGE sql IMMUTABLE PARALLEL SAFE
RETURN CASE WHEN octet_length(value) = char_length(value) THEN upper(value COLLATE "C")
            ELSE {schema}.mercato_upper_wide(value) END;

-- A capital sigma becomes the usual small one wherever it stands, and the capital I with a dot an i.
CREATE OR REPLACE FUNCTION {schema}.mercato_lower(value text) RETURNS text
LANGUAGE sql IMMUTABLE PARALLEL SAFE
RETURN CASE WHEN octet_length(value) = char_length(value) THEN lower(value COLLATE "C")
            ELSE lower(replace(replace(value, 'Σ', 'σ'), 'İ', 'i') COLLATE {schema}.mercato) COLLATE "C" END;

CREATE OR REPLACE FUNCTION {schema}.mercato_substring(value text, start double precision, length double precision) RETURNS text
LANGUAGE plpgsql IMMUTABLE STRICT PARALLEL SAFE AS $body$
DECLARE
  most CONSTANT bigint := 2147483647;
  place CONSTANT bigint := {schema}.mercato_whole(start);
  first CONSTANT bigint := greatest(place, 1);
  count CONSTANT bigint := {schema}.mercato_whole(length);
  size bigint := most;
BEGIN
  IF count < 0 THEN
    RAISE EXCEPTION 'Invalid length parameter passed to the substring function';
  END IF;
  -- A start before the text uses up some of the length.
  IF place <= most AND count <= most THEN
    size := greatest(place, -most) + count - first;
  END IF;
  IF size <= 0 OR first > most THEN
    RETURN '';
  END IF;
  RETURN substr(value, first::integer, size::integer);
END $body$;

CREATE OR REPLACE FUNCTION {schema}.mercato_right(value text, length double precision) RETURNS text
LANGUAGE plpgsql IMMUTABLE STRICT PARALLEL SAFE AS $body$
BEGIN
  IF trunc(length) < 0 THEN
    RAISE EXCEPTION 'Invalid length parameter passed to the right function';
  END IF;
  RETURN right(value, least(trunc(length), 2147483647)::integer);
END $body$;

-- Where the searched text stands at or behind a position, compared as the store compares texts, but for trailing blanks,
-- which count; 0 for nowhere. Only texts of as many characters can be equal in the ways that matter here.
CREATE OR REPLACE FUNCTION {schema}.mercato_charindex(searched text, value text, start double precision) RETURNS bigint
LANGUAGE plpgsql IMMUTABLE STRICT PARALLEL SAFE AS $body$
DECLARE
  size CONSTANT integer := char_length(searched);
  total CONSTANT integer := char_length(value);
  first CONSTANT bigint := greatest({schema}.mercato_whole(start), 1);
  wanted CONSTANT text := {schema}.mercato_folded(searched);
  found integer;
BEGIN
  IF size = 0 OR first > total THEN
    RETURN 0;
  END IF;
  -- Characters that become one and join with none before them keep their places in the folded text: most of the letters,
  -- and no marks.
  IF value || searched !~ E'[^\\u0001-\\u012f\\u0131-\\u02ff\\u0370-\\u0482\\u0488-\\u0590\\u1e00-\\u20cf\\u3030-\\u3098\\u309b-\\ua66e\\uac00-\\ud7a3]' COLLATE "C" THEN
    found := strpos(substr({schema}.mercato_folded(value), first::integer) COLLATE "C", wanted);
    RETURN CASE WHEN found > 0 THEN found + first - 1 ELSE 0 END;
  END IF;
  FOR place IN first .. total LOOP
    IF {schema}.mercato_folded(substr(value, place::integer, size)) = wanted COLLATE "C" THEN
      RETURN place;
    END IF;
  END LOOP;
  RETURN 0;
END $body$;

CREATE OR REPLACE FUNCTION {schema}.mercato_replace(value text, searched text, replacement text) RETURNS text
LANGUAGE plpgsql IMMUTABLE STRICT PARALLEL SAFE AS $body$
DECLARE
  result text := '';
  behind integer := 1;
  found integer;
BEGIN
  LOOP
    found := {schema}.mercato_charindex(searched, value, behind);
    EXIT WHEN found = 0;
    result := result || substr(value, behind, found - behind) || replacement;
    behind := found + char_length(searched);
  END LOOP;
  RETURN result || substr(value, behind);
END $body$;

-- Numbers

-- The number that a text is, with blanks around it; 0 for a blank text. Nothing for any other text, and for a number
-- beyond the type.
CREATE OR REPLACE FUNCTION {schema}.mercato_read_number(value text) RETURNS double precision
LANGUAGE plpgsql IMMUTABLE STRICT PARALLEL SAFE AS $body$
DECLARE
  digits CONSTANT text := btrim(value, E' \t\r\n');
  exponent CONSTANT text := ltrim(substring(digits FROM '[eE][+-]?([0-9]+)$'), '0');
  size numeric;
BEGIN
  IF digits ~ '^-?[0-9]{1,15}$' THEN
    RETURN digits::double precision;
  ELSIF digits = '' THEN
    RETURN 0;
  ELSIF digits !~ '^[+-]?([0-9]+[.]?[0-9]*|[.][0-9]+)([eE][+-]?[0-9]+)?$' THEN
    RETURN NULL;
  ELSIF digits ~ '^[+-]?[0.]+([eE]|$)' THEN
    RETURN 0;
  ELSIF char_length(exponent) > 3 OR char_length(digits) > 10000 THEN
    RETURN NULL;
  END IF;
  size := abs(digits::numeric);
  -- The borders are those from where on a number is rounded to 0 and to infinity.
  RETURN CASE WHEN size > 2.4703282292062327e-324 AND size < 1.797693134862315807e308 THEN digits::double precision END;
END $body$;

CREATE OR REPLACE FUNCTION {schema}.mercato_number(value text) RETURNS double precision
LANGUAGE plpgsql IMMUTABLE STRICT PARALLEL SAFE AS $body$
DECLARE
  number CONSTANT double precision := {schema}.mercato_read_number(value);
BEGIN
  IF number IS NULL THEN
    RAISE EXCEPTION 'Conversion failed when converting the text value ''%'' to a number', value;
  END IF;
  RETURN number;
END $body$;

CREATE OR REPLACE FUNCTION {schema}.mercato_boolean(value text) RETURNS smallint
LANGUAGE plpgsql IMMUTABLE STRICT PARALLEL SAFE AS $body$
DECLARE
  word CONSTANT text := lower(btrim(value, E' \t\r\n') COLLATE "C");
  number double precision;
BEGIN
  IF word IN ('true', 'false') THEN
    RETURN (word = 'true')::integer;
  END IF;
  number := {schema}.mercato_read_number(value);
  IF number IS NULL THEN
    RAISE EXCEPTION 'Conversion failed when converting the text value ''%'' to data type bit', value;
  END IF;
  RETURN (number <> 0)::integer;
END $body$;

-- The number of a text with thousands separators, which may have a $, a sign at either end, or brackets for a negative
-- amount. Nothing for any other text. What is too small is 0.
CREATE OR REPLACE FUNCTION {schema}.mercato_read_separated_number(value text) RETURNS double precision
LANGUAGE plpgsql IMMUTABLE STRICT PARALLEL SAFE AS $body$
DECLARE
  bracketed CONSTANT boolean := value ~ '^[(].+[)]$';
  digits text := CASE WHEN bracketed THEN ltrim(substr(value, 2, char_length(value) - 2), E' \t\r\n') ELSE value END;
  front CONSTANT text := substring(digits FROM E'^[-+$ \t\r\n]*');
  signs text := translate(front, E' \t\r\n', '');
BEGIN
  digits := substr(digits, char_length(front) + 1);
  IF signs !~ (CASE WHEN bracketed THEN '^[$]?$' ELSE '^([-+]?[$]?|[$][-+])$' END) THEN
    RETURN NULL;
  END IF;
  IF NOT bracketed AND signs !~ '[-+]' AND digits ~ '[-+]$' THEN
    signs := right(digits, 1);
    digits := rtrim(left(digits, -1));
  END IF;
  IF digits !~ '^[0-9][0-9,]*([.][0-9]*)?([eEdD][-+]?[0-9]+)?$' THEN
    RETURN NULL;
  END IF;
  digits := translate(digits, 'EdD,', 'eee');
  RETURN CASE WHEN bracketed OR signs ~ '-' THEN -1 ELSE 1 END *
         coalesce({schema}.mercato_read_number(digits), CASE WHEN digits ~ 'e-' THEN 0 END);
END $body$;

-- Exact, halves to the even digit at four decimals. Other forms than that of a plain decimal number are read as a double
-- first.
CREATE OR REPLACE FUNCTION {schema}.mercato_money(value text) RETURNS numeric
LANGUAGE plpgsql IMMUTABLE STRICT PARALLEL SAFE AS $body$
DECLARE
  digits CONSTANT text := btrim(value, E' \t\r\n');
  separated CONSTANT boolean := strpos(digits, ',') > 0;
  number CONSTANT double precision := CASE WHEN separated THEN {schema}.mercato_read_separated_number(digits)
                                           ELSE {schema}.mercato_read_number(digits) END;
  scaled numeric;  -- ten thousandths
BEGIN
  IF abs(number) < 1e15 THEN
    IF digits ~ '^[+-]?[0-9]+([.][0-9]*)?$' THEN
      scaled := digits::numeric * 10000;
      scaled := CASE WHEN abs(scaled) % 2 = 0.5 THEN trunc(scaled) ELSE round(scaled) END;
    ELSIF abs(round(number * 10000)) < 9.223372036854775e18 THEN
      scaled := round(number * 10000)::bigint;
    END IF;
  END IF;
  IF scaled BETWEEN -9223372036854775808 AND 9223372036854775807 THEN
    RETURN scaled * 0.0001;
  END IF;
  RAISE EXCEPTION 'Cannot convert a text value to money. The text has incorrect syntax';
END $body$;

-- The shortest text of at most 15 significant digits, such as 3.5, 0.1, 1E+15.
CREATE OR REPLACE FUNCTION {schema}.mercato_number_text(number double precision) RETURNS text
LANGUAGE plpgsql IMMUTABLE STRICT PARALLEL SAFE AS $body$
DECLARE
  size CONSTANT double precision := abs(number);
  rounded numeric;
  digits text;
  exponent integer;
BEGIN
  IF size < 1e15 AND number = trunc(number) THEN
    RETURN number::bigint;
  ELSIF size IN ('Infinity', 'NaN') THEN
    RETURN upper(replace(number::text, 'inity', '') COLLATE "C");
  END IF;
  rounded := trim_scale(size::numeric);  -- this conversion keeps 15 digits
  IF rounded >= 0.0001 AND rounded < 1e15 THEN
    digits := rounded;
  ELSE
    digits := btrim(replace(rounded::text, '.', ''), '0');
    exponent := CASE WHEN rounded >= 1 THEN char_length(trunc(rounded)::text) - 1
                     ELSE -char_length(substring(rounded::text FROM '[.](0*[1-9])')) END;
    digits := left(digits, 1) || CASE WHEN char_length(digits) > 1 THEN '.' ELSE '' END || substr(digits, 2) || 'E' ||
              CASE WHEN exponent < 0 THEN '-' ELSE '+' END || lpad(abs(exponent)::text, greatest(2, char_length(abs(exponent)::text)), '0');
  END IF;
  RETURN CASE WHEN number < 0 THEN '-' ELSE '' END || digits;
END $body$;

-- Two decimals, decided by the amount as a double: of two halves in decimal numbers, one may be a little less.
CREATE OR REPLACE FUNCTION {schema}.mercato_money_text(amount numeric) RETURNS text
LANGUAGE plpgsql IMMUTABLE STRICT PARALLEL SAFE AS $body$
DECLARE
  number CONSTANT double precision := abs((amount * 10000)::bigint::double precision / 10000);
  whole CONSTANT double precision := trunc(number);
  -- What is behind the point, as hundredths: exact from 0.005 on, and nothing less is rounded up.
  hundredths CONSTANT numeric := ((number - whole) * 1152921504606846976)::bigint * 100::numeric / 1152921504606846976;
BEGIN
  RETURN CASE WHEN amount < 0 THEN '-' ELSE '' END ||
         (whole::bigint + CASE WHEN hundredths % 2 = 0.5 THEN trunc(hundredths) ELSE round(hundredths) END * 0.01);
END $body$;

-- Half away from zero; negative places round before the point.
CREATE OR REPLACE FUNCTION {schema}.mercato_round(number double precision, places double precision) RETURNS double precision
LANGUAGE plpgsql IMMUTABLE STRICT PARALLEL SAFE AS $body$
DECLARE
  kept CONSTANT double precision := least(greatest(trunc(places), -20), 20);
  factor CONSTANT double precision := power(10::double precision, abs(kept));
  scaled double precision;
BEGIN
  IF kept < 0 AND abs(number) < 1 THEN
    RETURN 0;
  ELSIF kept >= 0 AND NOT abs(number) < 9e15 THEN
    RETURN number;
  END IF;
  scaled := CASE WHEN kept < 0 THEN number / factor ELSE number * factor END;
  IF NOT abs(scaled) < 9e15 THEN
    RETURN number;
  END IF;
  -- Through the shortest decimal form, so that 2.675 is a half and not a little less: this conversion keeps 15 digits.
  scaled := round(scaled::numeric);
  RETURN CASE WHEN kept < 0 THEN scaled * factor ELSE scaled / factor END;
END $body$;

-- Dates, to the second

CREATE OR REPLACE FUNCTION {schema}.mercato_seconds(moment timestamp) RETURNS bigint
LANGUAGE sql IMMUTABLE PARALLEL SAFE
RETURN extract(epoch FROM moment)::bigint;

-- The moment so many seconds behind 1 January 1970. It fails outside of the years 100 to 9999.
CREATE OR REPLACE FUNCTION {schema}.mercato_moment(seconds bigint) RETURNS timestamp
LANGUAGE plpgsql IMMUTABLE STRICT PARALLEL SAFE AS $body$
BEGIN
  IF seconds NOT BETWEEN -59011459200 AND 253402300799 THEN
    RAISE EXCEPTION 'Overflow';
  END IF;
  RETURN timestamp '1970-01-01 00:00:00' + make_interval(days => (seconds / 86400)::integer, secs => seconds % 86400);
END $body$;

-- Days in whole seconds, halves away from zero. It fails for more than there are between any two dates.
CREATE OR REPLACE FUNCTION {schema}.mercato_seconds_in(days double precision) RETURNS bigint
LANGUAGE plpgsql IMMUTABLE STRICT PARALLEL SAFE AS $body$
DECLARE
  seconds double precision;
BEGIN
  IF NOT abs(days) < 4e6 THEN
    RAISE EXCEPTION 'Overflow';
  END IF;
  seconds := days * 86400;
  RETURN trunc(seconds) + CASE WHEN abs(seconds - trunc(seconds)) >= 0.5 THEN sign(seconds) ELSE 0 END;
END $body$;

CREATE OR REPLACE FUNCTION {schema}.mercato_is_moment(year integer, month integer, day integer, hour integer, minute integer, second integer) RETURNS boolean
LANGUAGE sql IMMUTABLE PARALLEL SAFE
RETURN CASE WHEN year BETWEEN 100 AND 9999 AND month BETWEEN 1 AND 12 AND day BETWEEN 1 AND 31 AND hour < 24 AND minute < 60 AND second < 60
            THEN day <= extract(day FROM make_date(year, month, 1) + interval '1 month -1 day') ELSE false END;

-- A text as a date: numbers with / - . between them, month names, an optional time with AM/PM, a time alone, which is one
-- of 30 December 1899. A month above 12 changes places with the day, and so does one before the day unless the month comes
-- first. Nothing for a text that is no date.
CREATE OR REPLACE FUNCTION {schema}.mercato_parse_date(value text, month_first boolean) RETURNS timestamp
LANGUAGE plpgsql IMMUTABLE STRICT PARALLEL SAFE AS $body$
DECLARE
  months CONSTANT text := ' JANUARY   FEBRUARY  MARCH     APRIL     MAY       JUNE      JULY      AUGUST    SEPTEMBER OCTOBER   NOVEMBER  DECEMBER';
  halves CONSTANT text[] := '{AM,PM}';
  words text[];  -- numbers, names and separators, with empty ones behind the last
  next integer := 1;
  numbers text[] := '{}';
  year_text text;
  month_at integer;  -- how many numbers stand before the month's name
  year integer := 1899;
  month integer := 12;
  day integer := 30;
  other integer;
  times integer[] := '{}';
BEGIN
  IF value !~ E'^[0-9A-Za-z/.:, \t-]*$' OR value ~ '[0-9]{5}' OR value ~ E'^[ \t]*$' THEN
    RETURN NULL;
  END IF;
  words := string_to_array(upper(regexp_replace(value, E'[ \t]*([0-9]+|[A-Za-z]+|[/.:,-])[ \t]*', E'\\1 ', 'g') COLLATE "C"), ' ');
  IF cardinality(words) > 17 THEN
    RETURN NULL;
  END IF;
  words := words || '{"","",""}';

  IF NOT (words[1] ~ '^[0-9]' AND (words[2] = ':' OR words[2] = ANY (halves))) THEN
    WHILE cardinality(numbers) + (month_at IS NOT NULL)::integer < 3 AND words[next] <> '' LOOP
      EXIT WHEN cardinality(numbers) > 0 AND words[next] ~ '^[0-9]' AND (words[next + 1] = ':' OR words[next + 1] = ANY (halves));
      IF words[next] ~ '^[0-9]' THEN
        numbers := numbers || words[next];
      ELSIF words[next] ~ '^[A-Z]{3}' AND month_at IS NULL AND strpos(months, ' ' || words[next]) > 0 THEN
        month := strpos(months, ' ' || words[next]) / 10 + 1;
        month_at := cardinality(numbers);
      ELSE
        RETURN NULL;
      END IF;
      next := next + 1;
      IF cardinality(numbers) + (month_at IS NOT NULL)::integer < 3 AND words[next] IN ('/', '-', '.', ',') THEN
        next := next + 1;
      END IF;
    END LOOP;
    IF words[next] = ',' THEN
      next := next + 1;
    END IF;
    IF cardinality(numbers) + (month_at IS NOT NULL)::integer <> 3 THEN
      RETURN NULL;
    END IF;
    -- "2026-7-5", "2026 July 5"; "5 July 2026", "July 5, 2026"; "7/5/2026"
    IF month_at IS NULL THEN
      IF char_length(numbers[1]) > 2 THEN
        year_text := numbers[1];
        month := numbers[2];
        day := numbers[3];
      ELSE
        year_text := numbers[3];
        month := CASE WHEN month_first THEN numbers[1] ELSE numbers[2] END;
        day := CASE WHEN month_first THEN numbers[2] ELSE numbers[1] END;
      END IF;
    ELSIF char_length(numbers[1]) > 2 OR (month_at = 1 AND numbers[1]::integer > 31) THEN
      year_text := numbers[1];
      day := numbers[2];
    ELSE
      year_text := numbers[2];
      day := numbers[1];
    END IF;
    -- Two digits mean this century up to 29, the last one from 30.
    year := year_text::integer + CASE WHEN char_length(year_text) > 2 THEN 0 WHEN year_text::integer < 30 THEN 2000 ELSE 1900 END;
    IF month_at IS NULL AND char_length(numbers[1]) <= 2 AND NOT {schema}.mercato_is_moment(year, month, day, 0, 0, 0) THEN
      other := month;
      month := day;
      day := other;
    END IF;
    IF words[next] = 'T' THEN
      next := next + 1;
    END IF;
  END IF;

  IF words[next] <> '' THEN
    WHILE words[next] ~ '^[0-9]' AND cardinality(times) < 3 LOOP
      times := times || words[next]::integer;
      next := next + 1;
      EXIT WHEN words[next] <> ':';
      next := next + 1;
      IF words[next] !~ '^[0-9]' THEN
        RETURN NULL;
      END IF;
    END LOOP;
    -- A fraction of a second is read and dropped.
    IF cardinality(times) = 3 AND words[next] = '.' AND words[next + 1] ~ '^[0-9]' THEN
      next := next + 2;
    END IF;
    IF words[next] = ANY (halves) THEN
      IF coalesce(times[1], 0) NOT BETWEEN 1 AND 12 THEN
        RETURN NULL;
      END IF;
      times[1] := times[1] % 12 + CASE WHEN words[next] = 'PM' THEN 12 ELSE 0 END;
      next := next + 1;
    ELSIF cardinality(times) < 2 THEN
      RETURN NULL;
    END IF;
  END IF;
  times := times || '{0,0,0}';
  IF words[next] <> '' OR NOT {schema}.mercato_is_moment(year, month, day, times[1], times[2], times[3]) THEN
    RETURN NULL;
  END IF;
  RETURN make_timestamp(year, month, day, times[1], times[2], times[3]);
END $body$;

-- The same with what the server takes beyond it: a blank text and a time alone are of its own zero date, 1 January 1900,
-- and the first word may be a date of eight digits.
CREATE OR REPLACE FUNCTION {schema}.mercato_read_date(value text) RETURNS timestamp
LANGUAGE plpgsql IMMUTABLE STRICT PARALLEL SAFE AS $body$
DECLARE
  digits text := btrim(value, E' \t\r\n');
  moment timestamp;
BEGIN
  IF digits = '' THEN
    RETURN timestamp '1900-01-01 00:00:00';
  END IF;
  IF split_part(digits, ' ', 1) ~ '^[0-9]{8}$' THEN
    digits := left(digits, 4) || '-' || substr(digits, 5, 2) || '-' || substr(digits, 7);
  END IF;
  moment := {schema}.mercato_parse_date(digits, true);
  IF moment < timestamp '1899-12-31 00:00:00' AND moment >= timestamp '1899-12-30 00:00:00' AND strpos(digits, '1899') = 0 THEN
    RETURN moment + interval '2 days';
  END IF;
  RETURN moment;
END $body$;

CREATE OR REPLACE FUNCTION {schema}.mercato_date(value text) RETURNS timestamp
LANGUAGE plpgsql IMMUTABLE STRICT PARALLEL SAFE AS $body$
DECLARE
  moment CONSTANT timestamp := {schema}.mercato_read_date(value);
BEGIN
  IF moment IS NULL THEN
    RAISE EXCEPTION 'Conversion failed when converting date and/or time from character string';
  END IF;
  RETURN moment;
END $body$;

-- A number counts the days from 1 January 1900.
CREATE OR REPLACE FUNCTION {schema}.mercato_date(days double precision) RETURNS timestamp
LANGUAGE sql IMMUTABLE PARALLEL SAFE
RETURN {schema}.mercato_moment({schema}.mercato_seconds_in(days) - 2208988800);

-- A text in a style of CONVERT, or in any form that a literal may have.
CREATE OR REPLACE FUNCTION {schema}.mercato_styled_date(value text, style double precision) RETURNS timestamp
LANGUAGE sql IMMUTABLE PARALLEL SAFE
RETURN coalesce(CASE WHEN style IN (3, 4, 5, 103, 104, 105) THEN {schema}.mercato_parse_date(value, false) END,
                CASE WHEN style IS NOT NULL THEN {schema}.mercato_date(value) END);

CREATE OR REPLACE FUNCTION {schema}.mercato_date_text(moment timestamp, style double precision) RETURNS text
LANGUAGE plpgsql IMMUTABLE STRICT PARALLEL SAFE AS $body$
DECLARE
  form CONSTANT text := CASE
    WHEN style IN (0, 100) THEN 'Mon "' || lpad(to_char(moment, 'FMDD'), 2) || '" YYYY "' || lpad(to_char(moment, 'FMHH12'), 2) || '":MIAM'
    WHEN style = 1 THEN 'MM/DD/YY'
    WHEN style = 101 THEN 'MM/DD/YYYY'
    WHEN style = 102 THEN 'YYYY.MM.DD'
    WHEN style = 3 THEN 'DD/MM/YY'
    WHEN style = 103 THEN 'DD/MM/YYYY'
    WHEN style = 104 THEN 'DD.MM.YYYY'
    WHEN style = 105 THEN 'DD-MM-YYYY'
    WHEN style IN (8, 108) THEN 'HH24:MI:SS'
    WHEN style = 110 THEN 'MM-DD-YYYY'
    WHEN style = 111 THEN 'YYYY/MM/DD'
    WHEN style = 112 THEN 'YYYYMMDD'
    WHEN style IN (20, 120) THEN 'YYYY-MM-DD HH24:MI:SS'
    WHEN style IN (21, 121) THEN 'YYYY-MM-DD HH24:MI:SS.000'
    WHEN style = 126 THEN 'YYYY-MM-DD"T"HH24:MI:SS' END;
BEGIN
  IF form IS NULL THEN
    RAISE EXCEPTION '% is not a valid style number when converting from datetime to a character string', {schema}.mercato_whole(style);
  END IF;
  RETURN to_char(moment, form);
END $body$;

CREATE OR REPLACE FUNCTION {schema}.mercato_add_days(moment timestamp, days double precision) RETURNS timestamp
LANGUAGE sql IMMUTABLE PARALLEL SAFE
RETURN {schema}.mercato_moment({schema}.mercato_seconds(moment) + {schema}.mercato_seconds_in(days));

-- Parts are named in full: year, quarter, month, week, weekday, dayofyear, day, hour, minute, second. A day that the month
-- does not have becomes its last.
CREATE OR REPLACE FUNCTION {schema}.mercato_date_add(part text, count double precision, moment timestamp) RETURNS timestamp
LANGUAGE plpgsql IMMUTABLE STRICT PARALLEL SAFE AS $body$
DECLARE
  most CONSTANT bigint := 4398046511104;  -- far beyond all dates, and no product below overflows
  few CONSTANT bigint := least(greatest({schema}.mercato_whole(count), -most), most);
  months CONSTANT bigint := few * CASE part WHEN 'year' THEN 12 WHEN 'quarter' THEN 3 WHEN 'month' THEN 1 END;
  all_months CONSTANT bigint := extract(year FROM moment) * 12 + extract(month FROM moment) - 1 + months;
BEGIN
  IF months IS NULL THEN
    RETURN {schema}.mercato_moment({schema}.mercato_seconds(moment) + few * CASE part
      WHEN 'week' THEN 604800 WHEN 'hour' THEN 3600 WHEN 'minute' THEN 60 WHEN 'second' THEN 1 ELSE 86400 END);
  END IF;
  IF all_months NOT BETWEEN 1200 AND 119999 THEN
    RAISE EXCEPTION 'Overflow';
  END IF;
  RETURN moment + make_interval(months => months::integer);
END $body$;

-- The number of the part that a moment lies in, counted from a fixed one. Weeks begin on Sunday.
CREATE OR REPLACE FUNCTION {schema}.mercato_date_count(part text, moment timestamp) RETURNS bigint
LANGUAGE sql IMMUTABLE PARALLEL SAFE
RETURN CASE part
  WHEN 'year' THEN extract(year FROM moment)
  WHEN 'quarter' THEN extract(year FROM moment) * 4 + extract(quarter FROM moment)
  WHEN 'month' THEN extract(year FROM moment) * 12 + extract(month FROM moment)
  WHEN 'week' THEN (moment::date - date '1969-12-28' - extract(dow FROM moment)::integer) / 7
  WHEN 'hour' THEN floor({schema}.mercato_seconds(moment) / 3600.0)
  WHEN 'minute' THEN floor({schema}.mercato_seconds(moment) / 60.0)
  WHEN 'second' THEN {schema}.mercato_seconds(moment)
  ELSE moment::date - date '1970-01-01' END::bigint;

-- How many borders of such parts lie between the two; negative when the second is earlier.
CREATE OR REPLACE FUNCTION {schema}.mercato_date_difference(part text, earlier timestamp, later timestamp) RETURNS bigint
LANGUAGE sql IMMUTABLE PARALLEL SAFE
RETURN {schema}.mercato_date_count(part, later) - {schema}.mercato_date_count(part, earlier);

-- Weekdays count from Sunday as 1.
CREATE OR REPLACE FUNCTION {schema}.mercato_date_part(part text, moment timestamp) RETURNS bigint
LANGUAGE sql IMMUTABLE PARALLEL SAFE
RETURN CASE part
  WHEN 'year' THEN extract(year FROM moment)
  WHEN 'quarter' THEN extract(quarter FROM moment)
  WHEN 'month' THEN extract(month FROM moment)
  WHEN 'day' THEN extract(day FROM moment)
  WHEN 'hour' THEN extract(hour FROM moment)
  WHEN 'minute' THEN extract(minute FROM moment)
  WHEN 'second' THEN extract(second FROM moment)
  WHEN 'weekday' THEN extract(dow FROM moment) + 1
  WHEN 'dayofyear' THEN extract(doy FROM moment)
  ELSE {schema}.mercato_date_difference('week', date_trunc('year', moment), moment) + 1 END::bigint;

-- What the store knows of itself: how many definitions there were, so that a session sees when others have made some,
-- and which version of this file it has. Its one row is written with every definition.
CREATE TABLE IF NOT EXISTS {schema}.mercato_store (definitions bigint NOT NULL, functions integer NOT NULL);
INSERT INTO {schema}.mercato_store (definitions, functions)
SELECT 0, 0 WHERE NOT EXISTS (SELECT FROM {schema}.mercato_store);

-- Written to when everything that was committed before has to be on the disk.
CREATE SEQUENCE IF NOT EXISTS {schema}.mercato_flush;
