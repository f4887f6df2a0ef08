// SPDX-License-Identifier: Apache-2.0
// The index of a catalogue in cXML: items that are added and deleted. docs/formats/cxml.md says what becomes of each
// element.
#pragma once

#include <string_view>

#include "exchange/formats/format.h"

namespace mercato::exchange {

bool is_cxml(std::string_view begin);
void read_cxml(Bytes& bytes, const ReadingOptions& options, ItemSink& sink);

}  // namespace mercato::exchange
