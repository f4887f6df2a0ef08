// SPDX-License-Identifier: Apache-2.0
// A whole upload as a client makes it: the document as a file, all part numbers, the call repeated on what is left of
// the document as long as the budget of a call ends before the document does.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace mercato::bench {

// Uploads into the store that the settings name, below whose web root the remaining files come to lie. Returns the
// number of calls that it took. Throws std::runtime_error when a call makes no headway; what the library raises passes.
std::size_t upload_all(const std::filesystem::path& document, const std::filesystem::path& web_root,
                       const std::vector<std::string>& part_numbers);
// The same for a document of price lines, the loading of the currencies included.
std::size_t upload_all_prices(const std::filesystem::path& document, const std::filesystem::path& web_root,
                              const std::vector<std::string>& part_numbers);

}  // namespace mercato::bench
