// SPDX-License-Identifier: Apache-2.0
#include "exchange/formats/csv_format.h"

#include "exchange/formats/csv_table.h"
#include "exchange/formats/proposal.h"
#include "exchange/formats/table_reading.h"
#include "mercato/raised_error.h"

namespace mercato::exchange {
namespace {

std::string shown(char sign) { return sign == '\t' ? "tab" : std::string(1, sign); }

struct CsvSource {
  CsvSource(Bytes& bytes, const ReadingOptions& options)
      : text(bytes, !options.encoding.empty() || !options.mapping ? options.encoding : options.mapping->encoding),
        table(text, separator_of(options.mapping), quote_of(options.mapping)) {}

  static char separator_of(const Mapping* mapping) {
    return mapping && !mapping->separator.empty() ? mapping->separator.front() : '\0';
  }
  static char quote_of(const Mapping* mapping) {
    if (!mapping || !mapping->quote) return '\0';
    return mapping->quote->empty() ? '\1' : mapping->quote->front();
  }

  Decoded text;
  CsvTable table;
};

}  // namespace

bool is_csv(std::string_view begin) {
  if (begin.empty()) return false;
  BytesOfText bytes(begin);
  try {
    Decoded text(bytes);
    const std::string_view first = text.next();
    const CsvShape shape = csv_shape_of(first);
    return !first.starts_with('<') && first.substr(0, first.find('\n')).find(shape.separator) != std::string_view::npos;
  } catch (const Raised&) {
    return false;
  }
}

void read_csv(Bytes& bytes, const ReadingOptions& options, ItemSink& sink) {
  CsvSource source(bytes, options);
  sink.found_out("encoding", source.text.encoding());
  sink.found_out("separator", shown(source.table.shape().separator));
  read_table(source.table, options, sink);
}

std::string propose_csv_mapping(Bytes& bytes, const ReadingOptions& options, std::string_view file) {
  CsvSource source(bytes, options);
  const SampledTable sampled(source.table);
  if (sampled.sample().empty()) raise(error_number::kInvalidArgument, {}, "The file has no rows.");
  return mapping_text(propose(sampled.sample()), sampled.sample(), file);
}

}  // namespace mercato::exchange
