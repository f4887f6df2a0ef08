#include "bench/support/upload.h"

#include <stdexcept>

#include "platform/transactions/object_context.h"
#include "upload/product_xml.h"

namespace mercato::bench {

std::size_t upload_all(const std::filesystem::path& document, const std::filesystem::path& web_root,
                       std::vector<std::string> part_numbers) {
  constexpr char kFileKey[] = "bench";
  const Root<ProductXML> upload;
  std::string source = document.string();
  std::size_t calls = 0;
  for (std::size_t done = 0; done < part_numbers.size();) {
    Array wanted;
    wanted.items.assign(part_numbers.begin() + static_cast<std::ptrdiff_t>(done), part_numbers.end());
    upload->insertProductsFromXML(std::string(kFileKey) + "/\\" + source, true, wanted, true);
    if (wanted.items.empty()) throw std::runtime_error("the upload makes no headway");
    done += wanted.items.size();
    ++calls;
    source = (web_root / "XMLDownload" / ("remaining_products_" + std::string(kFileKey) + ".xml")).string();
  }
  return calls;
}

}  // namespace mercato::bench
