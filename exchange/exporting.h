// SPDX-License-Identifier: Apache-2.0
// What the store has, written so that others can read it, and `mercato import` too. Everything streams: one batch of
// products is in memory at a time. Raises what the store and the output raise. One thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "exchange/writers/written.h"

namespace mercato::exchange {

enum class ExportSubject : std::uint8_t { products, prices, categories, unspsc, catalog };
enum class ExportForm : std::uint8_t { csv, xlsx, json, bmecat, documents };

struct ExportFilter {
  std::optional<std::int32_t> supplier;  // the id of a business partner
  std::optional<std::int32_t> category;
  std::optional<std::int32_t> catalog;  // products that it shows; of ExportSubject::catalog the one to export
  std::string part_number;              // a pattern with * and ?, of the own or the supplier's number; empty: all
};

struct ExportOptions {
  ExportSubject subject = ExportSubject::products;
  ExportForm form = ExportForm::csv;
  ExportFilter filter;
  // For progress, of products only: how many there will be, and how many more were read.
  std::function<void(std::size_t)> on_start;
  std::function<void(std::size_t)> on_products;
};

struct ExportReport {
  std::size_t written = 0;                      // records
  std::size_t without_number = 0;               // products without a supplier's number, by which an import knows them
  std::map<std::string, std::size_t> left_out;  // what the form cannot hold
};

// The forms of a subject, the usual one first.
std::vector<ExportForm> forms_of(ExportSubject subject);

// `output` is finished when this returns. Raises 5 for a form that the subject has not.
ExportReport export_records(const std::string& connection_string, const ExportOptions& options, Output& output);

}  // namespace mercato::exchange
