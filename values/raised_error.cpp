// SPDX-License-Identifier: Apache-2.0
#include "mercato/raised_error.h"

#include <algorithm>
#include <array>
#include <utility>

namespace mercato {
namespace error_number {
namespace {

struct Entry {
  std::int32_t number;
  std::string_view description;
};

constexpr std::array kDescriptions = {
    Entry{kInvalidArgument, "Invalid procedure call or argument"},
    Entry{kOverflow, "Overflow"},
    Entry{kOutOfMemory, "Out of memory"},
    Entry{kSubscriptOutOfRange, "Subscript out of range"},
    Entry{kTypeMismatch, "Type mismatch"},
    Entry{kFileNotFound, "File not found"},
    Entry{kPermissionDenied, "Permission denied"},
    Entry{kPathFileAccess, "Path/File access error"},
    Entry{kPathNotFound, "Path not found"},
    Entry{kObjectNotSet, "Object variable or With block variable not set"},
    Entry{kInvalidUseOfNull, "Invalid use of Null"},
    Entry{kObjectRequired, "Object required"},
    Entry{kCannotCreateObject, "Component can't create object"},
    Entry{kNoSuchMethod, "Object doesn't support this property or method"},
    Entry{kArgumentNotOptional, "Argument not optional"},
    Entry{kWrongNumberOfArguments, "Wrong number of arguments or invalid property assignment"},
    Entry{kDuplicateKey, "This key is already associated with an element of this collection"},
    Entry{kInvalidDataArgument, "Arguments are of the wrong type, are out of acceptable range, or conflict"},
    Entry{kNoCurrentRow, "Either BOF or EOF is True, or the current record has been deleted"},
    Entry{kFeatureNotAvailable, "This recordset does not support the operation"},
    Entry{kNoSuchField, "Item cannot be found in the collection corresponding to the requested name or ordinal"},
    Entry{kObjectClosed, "Operation is not allowed when the object is closed"},
    Entry{kObjectOpen, "Operation is not allowed when the object is open"},
    Entry{kStatementRefused, "The statement was refused by the store"},
    Entry{kConstraintViolated, "The change violates a constraint of the store"},
    Entry{kValueTooLong, "The value is too long for its column"},
    Entry{kTimeout, "Timeout expired"},
    Entry{kStoreFailure, "The store reported a failure"},
};

}  // namespace

std::string_view default_description(std::int32_t number) {
  const auto* entry = std::find_if(kDescriptions.begin(), kDescriptions.end(),
                                   [number](const Entry& candidate) { return candidate.number == number; });
  // A number that is none of ours, raised without a text.
  return entry == kDescriptions.end() ? "Application-defined or object-defined error" : entry->description;
}

}  // namespace error_number

RaisedError completed(RaisedError error) {
  if (error.Source.empty()) error.Source = kLibraryName;
  if (error.Description.empty()) error.Description = error_number::default_description(error.Number);
  return error;
}

void raise(std::int32_t number, std::string source, std::string description) {
  throw Raised(completed({number, std::move(source), std::move(description), {}, 0}));
}

void raise(std::int32_t number) { raise(number, {}, {}); }

}  // namespace mercato
