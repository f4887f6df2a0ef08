// SPDX-License-Identifier: Apache-2.0
// The options of all commands that judge values before the library sees them, and of those that load a document.
#pragma once

#include "exchange/judging.h"
#include "mercato/variant.h"
#include "tools/cli/menu.h"
#include "upload/upload_documents.h"

namespace mercato::cli {

void add_judging_options(Command& command, JudgingChoices& given);
// `never_mind`: every reason that can be accepted is.
exchange::JudgingOptions judging_options(const JudgingChoices& given, bool never_mind);

// Raises 5, naming each, for numbers and dates of a command line that can be read two ways, or that the library would
// read as others. The fields are those of the kind of documents.
void require_certain(const upload::DocumentKind& kind, const Array& fields, const Array& values);

void add_loading_options(Command& command, std::string& rest, bool& atomic);

}  // namespace mercato::cli
