// SPDX-License-Identifier: Apache-2.0
// When two texts are the same for the store, and for whoever compares texts that it keeps. Case, trailing blanks and
// composition do not count: a composed letter is the same as its decomposed form. All else counts, accents and
// invisible characters too. Any thread.
#pragma once

#include <string>
#include <string_view>

namespace mercato::text {

bool same(std::string_view left, std::string_view right);

// The order of the folded texts' bytes; trailing blanks count. Allocates only for texts with characters that compose.
int compare_folded(std::string_view left, std::string_view right);

// The one form of all texts that differ in case and composition only. Bytes that are no UTF-8 stay as they are; a text
// with such bytes is not composed.
std::string folded(std::string_view text);
// Whether a byte of a folded text may have been something else than itself or its capital letter before. Of all others
// what stands side by side did so before: folding takes no ASCII character away.
bool changes_by_folding(char byte);

std::string_view without_trailing_blanks(std::string_view text);

}  // namespace mercato::text
