// SPDX-License-Identifier: Apache-2.0
// How this folder asks and changes the store in force: within the transaction of the caller if he has one, else each
// statement and each call of the library by itself. Raises what the store and the library raise. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "mercato/dictionary.h"
#include "mercato/statement.h"
#include "mercato/variant.h"

namespace mercato::keeping {

// All rows, each from column name to value.
std::vector<DictionaryPtr> rows_of(const Sql& sql);
// The number in the only column of the only row.
std::size_t count_by(const Sql& sql);
// The first column of all rows, as ids.
std::vector<std::int32_t> ids_by(const Sql& sql);
// Returns the number of rows that were changed.
std::int64_t run_statement(const Sql& sql);

// One method of a new object of the library, without a context of its own: its vote does not count.
Variant call_library(std::string_view prog_id, std::string_view method, std::initializer_list<Variant> arguments);

// Hands the ids to `work` in lists of few lengths, so that its statements have few shapes: each list stands in brackets,
// and a short one is filled up with its last id.
void for_each_list(std::span<const std::int32_t> ids, const std::function<void(const Sql& list)>& work);

}  // namespace mercato::keeping
