// Internal entities: the texts that a document's DOCTYPE names, put in the place of the references to them. Bounded, so
// that a few lines cannot become a flood. Private to this folder. Any thread.
#pragma once

#include <cstddef>
#include <string>

#include "platform/xml/well_formed.h"

namespace mercato::xml {

// Expands the references of a well-formed document, and those in what they stand for. Answers why it could not, as
// `Judgement::fault` does, empty when it could; the result is to be judged itself. All expanded texts together may have
// eight million bytes, or ten times those of the document when that is more.
std::string expand_entities(std::string& text, const Judgement& judgement, std::size_t max_depth);

}  // namespace mercato::xml
