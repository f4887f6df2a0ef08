// SPDX-License-Identifier: Apache-2.0
// The product that somebody means. Products are named by part number, supplier's number, GTIN or id; a prefix says
// which of them a text is: "part:M-4711", "supplier:8812", "gtin:4006381333931", "id:17". Without a prefix it may be
// any of them. Nothing is changed and nothing is logged. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace mercato::keeping {

struct NamedProduct {
  std::int32_t id = 0;
  std::string part_number;
  std::string supplier_part_number;
  std::string gtin;
  std::string description;
  std::optional<std::int32_t> supplier;
  bool disabled = false;
};

// All products that the text may mean, by their ids, each once; those of this business partner when there is one. Raises
// what the store raises.
std::vector<NamedProduct> products_named(const std::string& connection_string, const std::string& text,
                                         const std::optional<std::int32_t>& supplier = std::nullopt);
// The one of them. Raises 5 when there is none, and when there are several: the failure lists them.
NamedProduct product_named(const std::string& connection_string, const std::string& text,
                           const std::optional<std::int32_t>& supplier = std::nullopt);

// The products of these ids that there are, by their ids.
std::vector<NamedProduct> products_with(const std::string& connection_string, std::span<const std::int32_t> ids);

// The products that a text names, one on each line; blank lines are passed over. A product that is named twice counts
// once. A line that names none, or several, is a fault.
struct ListedProducts {
  struct Fault {
    std::size_t line;  // from 1
    std::string words;
  };
  std::vector<std::int32_t> ids;  // in the order of the lines
  std::vector<Fault> faults;
};
ListedProducts products_listed(const std::string& connection_string, const std::string& text,
                               const std::optional<std::int32_t>& supplier = std::nullopt);

// The business partner with this id or BUSINESSID. Raises 5 when there is none, and when two are meant.
std::int32_t supplier_named(const std::string& connection_string, const std::string& text);

}  // namespace mercato::keeping
