// SPDX-License-Identifier: Apache-2.0
#include "bench/support/measured_upload.h"

#include <stdexcept>

#include "mercato/object_context.h"
#include "mercato/price_xml.h"
#include "mercato/product_xml.h"

namespace mercato::bench {
namespace {

// `call` uploads what it can of a source.
template <class Call>
std::size_t repeat(const std::string& first_source, const std::filesystem::path& remaining_file,
                   const std::vector<std::string>& part_numbers, Call call) {
  std::string source = first_source;
  std::size_t calls = 0;
  for (std::size_t done = 0; done < part_numbers.size();) {
    Array wanted;
    wanted.items.assign(part_numbers.begin() + static_cast<std::ptrdiff_t>(done), part_numbers.end());
    call("bench/\\" + source, wanted);
    if (wanted.items.empty()) throw std::runtime_error("the upload makes no headway");
    done += wanted.items.size();
    ++calls;
    source = remaining_file.string();
  }
  return calls;
}

}  // namespace

std::size_t upload_all(const std::filesystem::path& document, const std::filesystem::path& web_root,
                       const std::vector<std::string>& part_numbers) {
  const Root<ProductXML> upload;
  return repeat(
      document.string(), web_root / "XMLDownload" / "remaining_products_bench.xml", part_numbers,
      [&](const std::string& source, Array& wanted) { upload->insertProductsFromXML(source, true, wanted, true); });
}

std::size_t upload_all_prices(const std::filesystem::path& document, const std::filesystem::path& web_root,
                              const std::vector<std::string>& part_numbers) {
  const Root<PriceXML> upload;
  upload->GetCheckedPriceList("<ProductPrices><ProductPrice/></ProductPrices>", false);
  return repeat(
      document.string(), web_root / "XMLDownload" / "remaining_prices_bench.xml", part_numbers,
      [&](const std::string& source, Array& wanted) { upload->UpdateInsertPricesFromXML(source, true, wanted); });
}

}  // namespace mercato::bench
