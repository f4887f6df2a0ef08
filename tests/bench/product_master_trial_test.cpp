// SPDX-License-Identifier: Apache-2.0
// A product master kept by hand from real components: products, properties and price bands go in one by one through the
// classes, and what comes back is compared with the file. A hundred components, since every call is a transaction on
// the disk; MERCATO_WHOLE_TRIAL in the environment makes it all those of which the attributes are known, some 19,000.
#include <cstdlib>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "bench/support/component_files.h"
#include "bench/support/data_folder.h"
#include "mercato/object_context.h"
#include "mercato/product.h"
#include "mercato/property.h"
#include "tests/support/store_fixture.h"
#include "values/text.h"

namespace mercato::test {
namespace {

const Date kFrom = Date::from_civil({2026, 7, 1});
const Date kToday = Date::from_civil({2026, 7, 15});
constexpr double kNoEnd = 999'999'999;
constexpr std::size_t kDescriptionWidth = 255;

struct Band {
  double from;
  Currency price;
};

struct Component {
  std::string part_number;
  std::string description;
  std::vector<Band> bands;
  std::int32_t id = 0;
};

using Values = std::map<std::string, std::map<std::string, std::string>>;  // part number to attribute to value

// "1:0.0188;200:0.0162", ascending.
std::vector<Band> bands_of(const std::string& tiers) {
  std::vector<Band> bands;
  for (const std::string& tier : text::split(tiers, ";")) {
    const std::vector<std::string> parts = text::split(tier, ":");
    bands.push_back({std::stod(parts.at(0)), Variant(parts.at(1)).to_currency()});
  }
  return bands;
}

Values read_values(const std::filesystem::path& csv) {
  Values values;
  bench::CsvReader reader(csv);
  for (std::vector<std::string> row; reader.next(row);) values[row[0]].emplace(row[1], row[2]);
  return values;
}

// The components of the file that `wanted` accepts.
template <class Wanted>
std::vector<Component> read_components(const std::filesystem::path& csv, Wanted wanted) {
  std::vector<Component> components;
  bench::CsvReader reader(csv);
  const std::size_t number = reader.column("part_number");
  const std::size_t description = reader.column("description");
  const std::size_t tiers = reader.column("price_tiers");
  for (std::vector<std::string> row; reader.next(row);)
    if (wanted(row[number])) {
      const std::string& text = row[description].empty() ? row[number] : row[description];
      components.push_back({row[number], std::string(text::left(text, kDescriptionWidth)), bands_of(row[tiers]), 0});
    }
  return components;
}

class ProductMasterTrial : public StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    execute({"INSERT INTO CURRENCY (CURRENCYCODE) VALUES ('USD')",
             "INSERT INTO UNIT (UNITCODE, UNITDESCRIPTION) VALUES ('PCE', 'piece')"});
  }
  std::int64_t count(const std::string& table) const { return value_of("SELECT COUNT(*) FROM " + table).to_long(); }
};

TEST_F(ProductMasterTrial, RealComponentsComeBackWithTheirPropertiesAndPrices) {
  const std::filesystem::path attributes = bench::data_folder() / "products" / "components-20k-attributes.csv.gz";
  const std::filesystem::path thousand = bench::data_folder() / "products" / "components-1k.csv";
  if (!std::filesystem::exists(attributes) || !std::filesystem::exists(thousand))
    GTEST_SKIP() << "there is no real data at " << thousand.parent_path() << "; MERCATO_DATA names its folder";
  const Values values = read_values(attributes);
  std::vector<Component> components =
      std::getenv("MERCATO_WHOLE_TRIAL")
          ? read_components(bench::components_file(), [&](const std::string& part) { return values.contains(part); })
          : read_components(thousand, [row = 0](const std::string&) mutable { return row++ % 10 == 0; });

  const Root<Product> products;
  const Root<Property> properties;
  std::map<std::string, std::int32_t> property_ids;
  std::size_t value_count = 0;
  std::size_t band_count = 0;
  for (Component& component : components) {
    component.id =
        products->Insert20(Array{"PARTNUMBER", "BUYFROMPARTNUMBER", "PRODUCTDESCRIPTION", "UNITCODE"},
                           Array{component.part_number, component.part_number, component.description, "PCE"});
    ASSERT_GT(component.id, 0) << component.part_number;
    if (const auto known = values.find(component.part_number); known != values.end())
      for (const auto& [attribute, value] : known->second) {
        std::int32_t& property = property_ids[attribute];
        if (property == 0) {
          std::string name = attribute;
          std::int16_t type = STRINGPROPERTYTYPE;
          std::string no_default;
          bool external = false;
          property = properties->Insert21(name, type, no_default, external);
        }
        products->InsertProductPropertyValue(component.id, property, value);
        ++value_count;
      }
    // A band ends below the beginning of the next one.
    for (std::size_t band = 0; band < component.bands.size(); ++band) {
      const double to = band + 1 < component.bands.size() ? component.bands[band + 1].from - 1 : kNoEnd;
      ASSERT_TRUE(products->InsertPrice(component.id, kFrom, to, Array{"CURRENCYCODE", "PRICE"},
                                        Array{"USD", component.bands[band].price}));
      ++band_count;
    }
  }

  ASSERT_GE(components.size(), 100u);
  EXPECT_EQ(count("PRODUCT"), static_cast<std::int64_t>(components.size()));
  EXPECT_EQ(count("PROPERTY"), static_cast<std::int64_t>(property_ids.size()));
  EXPECT_EQ(count("PRODUCTPROPVALUE"), static_cast<std::int64_t>(value_count));
  EXPECT_EQ(count("CATALOGPRODUCTPRICE"), static_cast<std::int64_t>(band_count));

  std::map<std::string, std::map<std::string, std::string>> stored;
  for (const auto& row : rows("SELECT P.PARTNUMBER, N.PROPERTYNAME, V.VALUE FROM PRODUCT P, PROPERTY N, "
                              "PRODUCTPROPVALUE V WHERE V.PRODUCTID = P.PRODUCTID AND V.PROPERTYID = N.PROPERTYID"))
    stored[row[0].to_text()][row[1].to_text()] = row[2].to_text();
  for (const Component& component : components) {
    const auto known = values.find(component.part_number);
    if (known != values.end()) {
      EXPECT_EQ(stored[component.part_number], known->second) << component.part_number;
    }
    for (std::size_t band = 0; band < component.bands.size(); ++band) {
      const auto price_for = [&](double quantity) {
        return products->getCatalogPriceAttributes(component.id, kToday, "USD", quantity)->Item("PRICE").to_currency();
      };
      EXPECT_EQ(price_for(component.bands[band].from), component.bands[band].price) << component.part_number;
      if (band + 1 < component.bands.size()) {
        EXPECT_EQ(price_for(component.bands[band + 1].from - 1), component.bands[band].price) << component.part_number;
      }
    }
  }
}

}  // namespace
}  // namespace mercato::test
