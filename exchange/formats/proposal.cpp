// SPDX-License-Identifier: Apache-2.0
#include "exchange/formats/proposal.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <set>
#include <unordered_set>

#include "exchange/formats/own_table.h"
#include "exchange/read_values.h"
#include "values/text.h"

namespace mercato::exchange {
namespace {

// What headers are called, in small letters without anything but letters and digits. A column that is called in none of
// these ways becomes a property.
enum class Meaning : std::uint8_t {
  number,
  field,
  amount,
  amount_for,
  currency,
  from_quantity,
  from_day,
  to_day,
  group,
  tax,
  tiers,
  category,
  property_name,
  property_value,
};

struct Synonyms {
  Meaning meaning;
  std::string_view field;  // of Meaning::field
  std::vector<std::string_view> names;
};

const std::vector<Synonyms>& all_synonyms() {
  static const std::vector<Synonyms> table = {
      {Meaning::number,
       {},
       {"partnumber",
        "partno",
        "partnr",
        "part",
        "supplierpartnumber",
        "supplierpartno",
        "supplierpartid",
        "suppliersku",
        "vendorpartnumber",
        "vendorpartno",
        "buyfrompartnumber",
        "itemnumber",
        "itemno",
        "itemid",
        "itemcode",
        "item",
        "articlenumber",
        "articleno",
        "articleid",
        "articlecode",
        "article",
        "productnumber",
        "productno",
        "productid",
        "productcode",
        "sku",
        "ordernumber",
        "orderno",
        "ordercode",
        "stocknumber",
        "catalognumber",
        "cataloguenumber",
        "artikelnummer",
        "artikelnr",
        "artnr",
        "artikel",
        "materialnummer",
        "materialnr",
        "bestellnummer",
        "bestellnr",
        "produktnummer",
        "lieferantenartikelnummer",
        "teilenummer",
        "sachnummer",
        "reference",
        "ref",
        "referencearticle",
        "referencefournisseur",
        "codearticle",
        "codeproduit",
        "numeroarticle",
        "numerodarticle",
        "referencia",
        "codigo",
        "codigoarticulo",
        "numerodearticulo",
        "codigodeproducto",
        "codice",
        "codicearticolo",
        "codiceprodotto",
        "riferimento",
        "artikelcode",
        "bestelnummer",
        "artikelnummerleverancier",
        "numerkatalogowy",
        "indeks"}},
      {Meaning::field,
       "PRODUCTDESCRIPTION",
       {"description",
        "shortdescription",
        "descriptionshort",
        "productdescription",
        "productname",
        "name",
        "itemname",
        "itemdescription",
        "articlename",
        "title",
        "designation",
        "bezeichnung",
        "bezeichnung1",
        "kurztext",
        "kurzbeschreibung",
        "artikelbezeichnung",
        "artikelname",
        "produktname",
        "produktbezeichnung",
        "beschreibung",
        "benennung",
        "libelle",
        "intitule",
        "nom",
        "nomproduit",
        "descripcion",
        "nombre",
        "descrizione",
        "denominazione",
        "nome",
        "omschrijving",
        "naam",
        "artikelomschrijving",
        "opis",
        "nazwa"}},
      {Meaning::field,
       "PRODUCTREMARK",
       {"remark", "remarks", "longdescription", "descriptionlong", "productremark", "comment", "note", "notes",
        "langtext", "bemerkung", "anmerkung", "hinweis", "remarque", "commentaire", "observaciones", "osservazioni",
        "opmerking"}},
      {Meaning::field,
       "PARTNUMBER",
       {"ourpartnumber", "ownpartnumber", "customerpartnumber", "buyerpartnumber", "buyerpartid", "kundenartikelnummer",
        "eigeneartikelnummer", "referenceclient"}},
      {Meaning::field,
       "UNITCODE",
       {"unit", "unitcode", "uom", "unitofmeasure", "orderunit", "salesunit", "packunit", "einheit", "mengeneinheit",
        "me", "bestelleinheit", "verkaufseinheit", "unite", "unitedevente", "unidad", "unita", "unitadimisura",
        "eenheid", "jednostka"}},
      {Meaning::field,
       "GTIN",
       {"gtin", "ean", "ean13", "eancode", "upc", "barcode", "gtin13", "gtin14", "isbn13", "strichcode", "codebarres",
        "codigodebarras", "codiceabarre"}},
      {Meaning::field,
       "MFRPARTNUMBER",
       {"mfrpartnumber", "mfrpartno", "mfgpartnumber", "mpn", "manufacturerpartnumber", "manufacturerpartno",
        "manufacturerspartnumber", "manufacturerpartid", "herstellernummer", "herstellerartikelnummer",
        "herstellerteilenummer", "herstellernr", "referencefabricant", "referenciafabricante", "codiceproduttore",
        "fabrikantnummer"}},
      {Meaning::field,
       "MINORDERQTY",
       {"minorderqty", "moq", "minimumorderquantity", "minorderquantity", "minqty", "minimumquantity", "minorder",
        "mindestbestellmenge", "mindestmenge", "mindestabnahme", "quantiteminimum", "quantiteminimale",
        "cantidadminima", "quantitaminima", "minimumbestelhoeveelheid"}},
      {Meaning::field,
       "MULTIPLEOF",
       {"multipleof", "ordermultiple", "orderinterval", "quantityinterval", "multiple", "bestellintervall",
        "staffelung", "multiplede", "multiplo"}},
      {Meaning::field,
       "LOTSIZE",
       {"lotsize", "lot", "packsize", "packagingqty", "packqty", "packquantity", "verpackungseinheit", "vpe",
        "losgroesse", "losgröße", "conditionnement"}},
      {Meaning::field,
       "DELIVERYLEADTIME",
       {"deliveryleadtime", "leadtime", "leadtimedays", "deliverytime", "deliverydays", "lieferzeit", "lieferzeittage",
        "delai", "delaidelivraison", "plazodeentrega", "tempodiconsegna", "levertijd"}},
      {Meaning::field,
       "IMAGEFILENAME",
       {"image", "imagefile", "imagefilename", "imageurl", "picture", "photo", "bild", "bilddatei", "bildurl", "imagen",
        "immagine", "afbeelding"}},
      {Meaning::field, "TECHNICALIMAGE", {"technicalimage", "drawing", "zeichnung", "dessin", "dibujo", "disegno"}},
      {Meaning::field, "URL", {"url", "link", "website", "producturl", "productlink", "webadresse", "datasheet"}},
      {Meaning::field, "UNSPSCCODE", {"unspsc", "unspsccode"}},
      {Meaning::field, "COMMODITYCODE", {"commoditycode", "commodity", "warengruppencode"}},
      {Meaning::field, "CLASSIFICATION", {"classification", "eclass", "etim", "klassifikation"}},
      {Meaning::field, "CONTRACTCODE", {"contractcode", "contract", "vertrag", "vertragsnummer", "contrat"}},
      {Meaning::amount,
       {},
       {"price",       "unitprice",      "netprice",    "listprice",   "salesprice",     "priceamount",
        "amount",      "preis",          "nettopreis",  "einzelpreis", "stueckpreis",    "stückpreis",
        "listenpreis", "verkaufspreis",  "vk",          "ek",          "prix",           "prixunitaire",
        "prixht",      "prixnet",        "tarif",       "precio",      "preciounitario", "precioneto",
        "prezzo",      "prezzounitario", "prezzonetto", "prijs",       "nettoprijs",     "cena"}},
      {Meaning::amount_for,
       {},
       {"pricequantity", "priceunit", "priceper", "per", "preiseinheit", "pe", "preismenge", "pro", "prixpar",
        "unitedeprix", "quantitaprezzo", "prijspereenheid"}},
      {Meaning::currency,
       {},
       {"currency", "currencycode", "waehrung", "währung", "whg", "devise", "monnaie", "moneda", "divisa", "valuta",
        "waluta"}},
      {Meaning::from_quantity,
       {},
       {"fromquantity", "quantityfrom", "fromqty", "qtyfrom", "lowerbound", "scaleqty", "breakqty", "abmenge",
        "staffelmenge", "menge", "quantity", "qty", "quantite", "apartirde", "cantidad", "quantita", "vanafaantal"}},
      {Meaning::from_day,
       {},
       {"pricefrom", "validfrom", "priceeffectivedate", "startdate", "gueltigab", "gültigab", "gueltigvon", "gültigvon",
        "valableapartirde", "validodesde", "validodal", "geldigvanaf"}},
      {Meaning::to_day,
       {},
       {"priceto", "validto", "validuntil", "priceexpirydate", "enddate", "gueltigbis", "gültigbis", "valablejusquau",
        "validohasta", "validofinoal", "geldigtot"}},
      {Meaning::group, {}, {"pricegroup", "customergroup", "preisgruppe", "kundengruppe", "groupedeprix"}},
      {Meaning::tax,
       {},
       {"tax", "taxrate", "vat", "vatrate", "taxpercentage", "mwst", "mwstsatz", "ust", "steuersatz", "tva", "tauxtva",
        "iva", "btw"}},
      {Meaning::tiers,
       {},
       {"pricetiers", "tiers", "tierprices", "pricebreaks", "quantityprices", "staffelpreise", "preisstaffel"}},
      {Meaning::category,
       {},
       {"category", "categorypath", "categories", "productcategory", "group", "productgroup", "warengruppe",
        "produktgruppe", "kategorie", "kategoriepfad", "categorie", "famille", "categoria", "gruppo", "categoriepad"}},
      {Meaning::property_name,
       {},
       {"attribute", "attributename", "property", "propertyname", "feature", "featurename", "merkmal", "merkmalname",
        "eigenschaft", "attribut", "caracteristique", "caracteristica", "caratteristica", "kenmerk"}},
      {Meaning::property_value,
       {},
       {"value", "attributevalue", "propertyvalue", "featurevalue", "wert", "merkmalwert", "valeur", "valor", "valore",
        "waarde"}},
  };
  return table;
}

// Small letters and digits only, accents taken for their letters where the table has them without.
std::string plain_name(std::string_view header) {
  static const std::map<std::string_view, char> kAccents = {{"é", 'e'}, {"è", 'e'}, {"ê", 'e'}, {"à", 'a'}, {"â", 'a'},
                                                            {"ç", 'c'}, {"ó", 'o'}, {"ò", 'o'}, {"í", 'i'}, {"ì", 'i'},
                                                            {"ñ", 'n'}, {"ù", 'u'}, {"ú", 'u'}, {"û", 'u'}, {"ô", 'o'}};
  const std::string lower = text::to_lower(header);
  std::string name;
  for (std::size_t position = 0; position < lower.size();) {
    const auto byte = static_cast<unsigned char>(lower[position]);
    const std::size_t length = byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : byte >= 0xC0 ? 2 : 1;
    const std::string_view character = std::string_view(lower).substr(position, length);
    position += length;
    if (const auto accent = kAccents.find(character); accent != kAccents.end())
      name += accent->second;
    else if (byte >= 0x80 || (byte >= 'a' && byte <= 'z') || (byte >= '0' && byte <= '9'))
      name += character;
  }
  return name;
}

const Synonyms* meaning_of(std::string_view header) {
  static const std::map<std::string_view, const Synonyms*> by_name = [] {
    std::map<std::string_view, const Synonyms*> names;
    for (const Synonyms& synonyms : all_synonyms())
      for (const std::string_view name : synonyms.names) names.emplace(name, &synonyms);
    return names;
  }();
  const auto found = by_name.find(plain_name(header));
  return found == by_name.end() ? nullptr : found->second;
}

// "price_2", "Preis 2": the name in front, and the number of the tier.
struct NumberedName {
  std::string name;
  std::string number;
};
NumberedName numbered(std::string_view header) {
  std::string name = plain_name(header);
  std::string number;
  while (!name.empty() && name.back() >= '0' && name.back() <= '9') {
    number.insert(number.begin(), name.back());
    name.pop_back();
  }
  return {std::move(name), std::move(number)};
}

bool has_name(Meaning meaning, std::string_view name) {
  for (const Synonyms& synonyms : all_synonyms())
    if (synonyms.meaning == meaning && std::ranges::find(synonyms.names, name) != synonyms.names.end()) return true;
  return false;
}

bool looks_like_value(std::string_view cell) {
  return read_number(cell, {0, 0, Notation::Dates::unknown}).reading != Reading::none ||
         read_day(cell, {0, 0, Notation::Dates::unknown}).reading != Reading::none;
}

// "1:0.12;100:0.09"
bool looks_like_tiers(std::string_view cell) {
  if (cell.find(':') == std::string_view::npos) return false;
  for (const std::string& tier : text::split(cell, ";")) {
    const std::vector<std::string> halves = text::split(tier, ":");
    if (halves.size() != 2) return false;
    for (const std::string& half : halves)
      if (read_number(half, {0, 0, Notation::Dates::unknown}).reading == Reading::none) return false;
  }
  return true;
}

class Proposing {
 public:
  Proposing(const std::deque<TableRow>& sample, std::size_t header)
      : sample_(sample), first_(header + 1), headers_(sample[header].cells) {}

  Proposal run() {
    proposal_.headers = headers_;
    proposal_.header = first_ - 1;
    take_numbered_prices();
    take_property_rows();
    for (std::size_t place = 0; place < headers_.size(); ++place) take(place);
    find_number();
    std::vector<Mapping::Price>& prices = proposal_.mapping.prices;
    if (!tiers_.empty()) prices.emplace_back().tiers = tiers_;
    if (!price_.amount.empty()) {
      Mapping::Price& price = prices.emplace_back();
      price.amount = price_.amount;
      price.from_quantity = price_.from_quantity;
    }
    for (Mapping::Price& price : prices) {
      price.currency = price_.currency;
      price.amount_for = price_.amount_for;
      price.from_day = price_.from_day;
      price.to_day = price_.to_day;
      price.group = price_.group;
      price.tax_percentage = price_.tax_percentage;
    }
    if (!prices.empty() && price_.currency.empty())
      proposal_.remarks.emplace_back(
          "No column says the currency of the prices. Say it under [constants]: CURRENCY = \"EUR\".");
    return std::move(proposal_);
  }

 private:
  std::vector<std::string_view> values(std::size_t place) const {
    std::vector<std::string_view> found;
    for (std::size_t row = first_; row < sample_.size(); ++row)
      if (place < sample_[row].cells.size())
        if (const std::string_view cell = trimmed(sample_[row].cells[place]); !cell.empty()) found.push_back(cell);
    return found;
  }

  static bool most(const std::vector<std::string_view>& values, bool (*test)(std::string_view)) {
    return !values.empty() && std::ranges::count_if(values, test) * 10 >= std::ssize(values) * 9;
  }

  // By its header; by its place when another column has the same.
  ColumnReference reference(std::size_t place) const {
    const bool alone = std::ranges::count_if(headers_, [&](const std::string& header) {
                         return text::equal_names(trimmed(header), trimmed(headers_[place]));
                       }) == 1;
    const std::string header(trimmed(headers_[place]));
    return {alone && !header.empty() ? header : "#" + std::to_string(place + 1), {}, 1};
  }

  void take_numbered_prices() {
    std::map<std::string, std::size_t> amounts;
    std::map<std::string, std::size_t> quantities;
    for (std::size_t place = 0; place < headers_.size(); ++place) {
      const NumberedName name = numbered(headers_[place]);
      if (name.number.empty()) continue;
      if (has_name(Meaning::amount, name.name)) amounts.emplace(name.number, place);
      if (has_name(Meaning::from_quantity, name.name) || name.name == "from" || name.name == "ab" ||
          name.name == "staffel" || name.name == "break")
        quantities.emplace(name.number, place);
    }
    for (const auto& [number, place] : amounts) {
      const auto quantity = quantities.find(number);
      if (quantity == quantities.end() && number != "1") continue;
      Mapping::Price& price = proposal_.mapping.prices.emplace_back();
      price.amount = reference(place);
      taken_.insert(place);
      if (quantity == quantities.end()) continue;
      price.from_quantity = reference(quantity->second);
      taken_.insert(quantity->second);
    }
  }

  // A property in each row takes two columns: its name's and its value's.
  void take_property_rows() {
    std::optional<std::size_t> name;
    std::optional<std::size_t> value;
    for (std::size_t place = 0; place < headers_.size(); ++place) {
      const Synonyms* synonyms = meaning_of(headers_[place]);
      if (synonyms && synonyms->meaning == Meaning::property_name) name = place;
      if (synonyms && synonyms->meaning == Meaning::property_value) value = place;
    }
    if (!name || !value || values(*name).empty()) return;
    proposal_.mapping.property_name = reference(*name);
    proposal_.mapping.property_value = reference(*value);
    taken_.insert({*name, *value});
  }

  void take(std::size_t place) {
    if (taken_.contains(place)) return;
    const std::string header(trimmed(headers_[place]));
    const std::vector<std::string_view> found = values(place);
    if (found.empty()) {
      proposal_.empty_columns.push_back(header);
      return;
    }
    const Synonyms* synonyms = meaning_of(header);
    if (synonyms && synonyms->meaning == Meaning::number) {
      numbers_.push_back(place);
      return;
    }
    if (synonyms && take_known(place, *synonyms)) return;
    if (!synonyms && most(found, is_gtin) && !has_field("GTIN")) {
      proposal_.remarks.push_back("The column \"" + header +
                                  "\" holds trade item numbers: their check digits are right.");
      add_field("GTIN", place);
      return;
    }
    if (most(found, looks_like_tiers) && tiers_.empty()) {
      tiers_ = reference(place);
      return;
    }
    add_property(place);
  }

  bool take_known(std::size_t place, const Synonyms& synonyms) {
    ColumnReference* target = nullptr;
    switch (synonyms.meaning) {
      case Meaning::number:
      case Meaning::property_name:
      case Meaning::property_value:
        return false;
      case Meaning::field:
        if (has_field(synonyms.field)) return false;
        add_field(synonyms.field, place);
        return true;
      case Meaning::amount:
        target = &price_.amount;
        break;
      case Meaning::amount_for:
        target = &price_.amount_for;
        break;
      case Meaning::currency:
        target = &price_.currency;
        break;
      case Meaning::from_quantity:
        target = &price_.from_quantity;
        break;
      case Meaning::from_day:
        target = &price_.from_day;
        break;
      case Meaning::to_day:
        target = &price_.to_day;
        break;
      case Meaning::group:
        target = &price_.group;
        break;
      case Meaning::tax:
        target = &price_.tax_percentage;
        break;
      case Meaning::tiers:
        if (!most(values(place), looks_like_tiers)) return false;
        target = &tiers_;
        break;
      case Meaning::category:
        target = &proposal_.mapping.category;
        take_category_separator(place);
        break;
    }
    if (!target->empty()) return false;
    *target = reference(place);
    return true;
  }

  void take_category_separator(std::size_t place) {
    for (const std::string_view separator : {" > ", ">", "|", "\\", "/"}) {
      const bool used = std::ranges::any_of(values(place), [separator](std::string_view value) {
        return value.find(separator) != std::string_view::npos;
      });
      if (!used) continue;
      proposal_.mapping.category_separator = separator;
      return;
    }
  }

  bool has_field(std::string_view name) const {
    return std::ranges::any_of(proposal_.mapping.fields,
                               [name](const MappedField& field) { return field.name == name; });
  }

  void add_field(std::string_view name, std::size_t place) {
    proposal_.mapping.fields.push_back({std::string(name), reference(place)});
  }

  void add_property(std::size_t place) {
    const std::string header(trimmed(headers_[place]));
    std::string name = property_name_of(header);
    if (name.empty()) name = "COLUMN_" + std::to_string(place + 1);
    constexpr std::size_t kWidth = 30;  // of a property's name in a document
    if (text::length(name) > kWidth) {
      name = text::left(name, kWidth);
      proposal_.remarks.push_back("The header \"" + header + "\" is too long for a property's name, which is cut.");
    }
    for (int number = 2; !property_names_.insert(name).second; ++number)
      name = std::string(text::left(name, kWidth - 3)) + "_" + std::to_string(number);
    proposal_.mapping.properties.push_back({name, reference(place)});
  }

  void find_number() {
    std::vector<std::size_t> full;
    for (const std::size_t place : numbers_)
      if (values(place).size() == sample_.size() - first_) full.push_back(place);
    if (full.empty()) {
      proposal_.remarks.emplace_back(
          "No column is called as part numbers are and holds one in each row. Name it: number = \"HEADER\".");
      for (const std::size_t place : numbers_) add_property(place);
      return;
    }
    proposal_.mapping.number = reference(full.front());
    proposal_.certain = full.size() == 1 && !repeats_apart(full.front());
    if (full.size() > 1) {
      std::string others;
      for (const std::size_t place : full) others += (others.empty() ? "\"" : ", \"") + headers_[place] + "\"";
      proposal_.remarks.push_back("Several columns may hold the supplier's part number: " + others +
                                  ". The first was taken; put the right one in its place.");
    } else if (!proposal_.certain) {
      proposal_.remarks.push_back(
          "The column \"" + headers_[full.front()] +
          "\" has the same value in rows that do not follow each other, as no part number has.");
    }
    for (const std::size_t place : numbers_)
      if (place != full.front()) add_property(place);
  }

  // Rows of one product may follow each other, for its price tiers.
  bool repeats_apart(std::size_t place) const {
    std::unordered_set<std::string_view> seen;
    std::string_view last;
    for (const std::string_view value : values(place)) {
      if (value != last && !seen.insert(value).second) return true;
      last = value;
    }
    return false;
  }

  const std::deque<TableRow>& sample_;
  const std::size_t first_;
  const std::vector<std::string>& headers_;
  std::set<std::size_t> taken_;
  std::vector<std::size_t> numbers_;
  std::set<std::string> property_names_;
  Mapping::Price price_;  // what columns without a number in their names say
  ColumnReference tiers_;
  Proposal proposal_;
};

std::string quoted(std::string_view text) {
  std::string result = "\"";
  for (const char byte : text) {
    if (byte == '"' || byte == '\\') result += '\\';
    if (byte == '\n')
      result += "\\n";
    else if (byte == '\t')
      result += "\\t";
    else if (byte == '\r')
      result += "\\r";
    else if (static_cast<unsigned char>(byte) >= 0x20 && byte != 0x7F)
      result += byte;
  }
  return result + '"';
}

// A name that TOML takes without quotes, else in quotes.
std::string key(const std::string& name) {
  const bool bare = !name.empty() && std::ranges::all_of(name, [](char byte) {
    return (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z') || (byte >= '0' && byte <= '9') ||
           byte == '_' || byte == '-';
  });
  return bare ? name : quoted(name);
}

class MappingWriter {
 public:
  MappingWriter(const Proposal& proposal, const std::deque<TableRow>& sample) : proposal_(proposal), sample_(sample) {}

  std::string text(std::string_view file) {
    const Mapping& mapping = proposal_.mapping;
    text_ = "# Which column of " + std::string(file) + " is what. Proposed from its headers and its first " +
            std::to_string(sample_.size()) + " rows: read it before you use it.\n";
    for (const std::string& remark : proposal_.remarks) text_ += "# " + remark + "\n";
    text_ += "\n";
    if (mapping.number.empty())
      text_ += "# number = \"\"  # the column with the supplier's part number\n";
    else
      entry("number", mapping.number);
    if (mapping.decimal_sign) text_ += "decimal = " + quoted(std::string(1, *mapping.decimal_sign)) + "\n";
    if (mapping.dates == Notation::Dates::iso) text_ += "dates = \"iso\"\n";
    if (!mapping.ignored.empty()) {
      text_ += "ignored = [";
      for (const std::string& column : mapping.ignored)
        text_ += (&column == mapping.ignored.data() ? "" : ", ") + quoted(column);
      text_ += "]\n";
    }
    section("fields", mapping.fields);
    text_ += "\n[constants]  # of products for which the file says nothing\n";
    if (!std::ranges::any_of(mapping.fields, [](const MappedField& field) { return field.name == "UNITCODE"; }))
      text_ += "# UNITCODE = \"PCE\"\n";
    if (mapping.prices.empty() || mapping.prices.front().currency.empty()) text_ += "# CURRENCY = \"EUR\"\n";
    for (const auto& [name, value] : mapping.constants) text_ += key(name) + " = " + quoted(value) + "\n";
    for (const Mapping::Price& price : mapping.prices) write(price);
    if (!mapping.category.empty()) {
      text_ += "\n[category]  # the path, from the root down\n";
      entry("column", mapping.category);
      text_ += "separator = " + quoted(mapping.category_separator) + "\n";
    }
    section("properties", mapping.properties);
    if (!mapping.property_name.empty()) {
      text_ += "\n[property_rows]  # a property in each row\n";
      entry("name", mapping.property_name);
      entry("value", mapping.property_value);
    }
    if (!proposal_.empty_columns.empty()) {
      text_ += "\n# Empty in all rows that were looked at:";
      for (const std::string& column : proposal_.empty_columns) text_ += " " + quoted(column);
      text_ += "\n";
    }
    return text_;
  }

 private:
  void section(const char* name, const std::vector<MappedField>& fields) {
    if (fields.empty()) return;
    text_ += "\n[" + std::string(name) + "]\n";
    for (const MappedField& field : fields) entry(key(field.name), field.from);
  }

  void entry(const std::string& name, const ColumnReference& column) {
    if (column.empty()) return;
    std::string line = name + " = " + quoted(column.column);
    if (const std::string example = example_of(column); !example.empty()) line += "  # such as " + example;
    text_ += line + "\n";
  }

  void write(const Mapping::Price& price) {
    text_ += "\n[[price]]\n";
    entry("amount", price.amount);
    if (!price.tiers.empty()) {
      entry("tiers", price.tiers);
      text_ += "between = " + quoted(price.between_tiers) + "\nwithin = " + quoted(price.within_tier) +
               "  # from-quantity and price\n";
    }
    entry("from_quantity", price.from_quantity);
    entry("to_quantity", price.to_quantity);
    entry("for", price.amount_for);
    entry("currency", price.currency);
    entry("from", price.from_day);
    entry("to", price.to_day);
    entry("group", price.group);
    entry("tax", price.tax_percentage);
    entry("discount_percentage", price.discount_percentage);
    entry("discount_amount", price.discount_amount);
    entry("freight", price.freight_cost);
  }

  // The first value of the column, on one line.
  std::string example_of(const ColumnReference& column) const {
    const auto place = std::ranges::find_if(proposal_.headers, [&](const std::string& header) {
      return text::equal_names(trimmed(header), column.column);
    });
    if (place == proposal_.headers.end()) return {};
    const auto index = static_cast<std::size_t>(place - proposal_.headers.begin());
    for (std::size_t place_of_row = proposal_.header + 1; place_of_row < sample_.size(); ++place_of_row) {
      const TableRow& row = sample_[place_of_row];
      if (index >= row.cells.size()) continue;
      const std::string_view cell = trimmed(row.cells[index]);
      constexpr std::size_t kShown = 40;
      if (!cell.empty()) return quoted(text::left(cell, kShown));
    }
    return {};
  }

  const Proposal& proposal_;
  const std::deque<TableRow>& sample_;
  std::string text_;
};

}  // namespace

std::size_t header_position(const std::deque<TableRow>& sample) {
  constexpr std::size_t kLookedAt = 50;
  std::map<std::size_t, std::size_t> widths;
  const auto filled = [](const TableRow& row) {
    return static_cast<std::size_t>(
        std::ranges::count_if(row.cells, [](const std::string& cell) { return !trimmed(cell).empty(); }));
  };
  std::size_t widest = 0;
  for (const TableRow& row : sample) widest = std::max(widest, filled(row));
  for (std::size_t position = 0; position < std::min(sample.size(), kLookedAt); ++position) {
    const TableRow& row = sample[position];
    if (filled(row) * 10 < widest * 6) continue;
    std::set<std::string> names;
    bool texts = true;
    bool different = true;
    bool known = false;  // then two may be called the same
    for (const std::string& cell : row.cells) {
      const std::string_view name = trimmed(cell);
      if (name.empty()) continue;
      texts = texts && !looks_like_value(name);
      different = names.insert(text::to_lower(name)).second && different;
      known = known || meaning_of(name) != nullptr;
    }
    if (texts && (different || known)) return position;
  }
  return 0;
}

Proposal propose(const std::deque<TableRow>& sample) {
  if (sample.empty()) return {};
  if (std::optional<Mapping> own = own_mapping(sample.front().cells)) {
    Proposal proposal;
    proposal.mapping = std::move(*own);
    proposal.mapping.header_row = sample.front().line;
    proposal.headers = sample.front().cells;
    proposal.certain = true;
    return proposal;
  }
  return Proposing(sample, header_position(sample)).run();
}

std::string mapping_text(const Proposal& proposal, const std::deque<TableRow>& sample, std::string_view file) {
  return MappingWriter(proposal, sample).text(file);
}

}  // namespace mercato::exchange
