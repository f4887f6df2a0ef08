// SPDX-License-Identifier: Apache-2.0
// The fields of a failure, and the one exception type that carries them.
// A value type: copied freely, owned by nobody. Any thread.
#pragma once

#include <cstdint>
#include <exception>
#include <new>
#include <string>
#include <string_view>

#include "mercato/export.h"

namespace mercato {

/// What a failure carries. A value type.
struct RaisedError {
  std::int32_t Number = 0;       ///< 0: no error
  std::string Source;            ///< set at the first raise, never changed on the way up
  std::string Description;       ///< grows by one wrapping at every level that passes it on
  std::string HelpFile;          ///< carried along unchanged
  std::int32_t HelpContext = 0;  ///< carried along unchanged

  /// The same in all fields.
  bool operator==(const RaisedError&) const = default;
};

/// The exception that leaves the library. Beside it there is std::bad_alloc alone, from a method without a tail that is
/// called by its type.
class MERCATO_API Raised : public std::exception {
 public:
  /// Carries the failure as it is given.
  explicit Raised(RaisedError error) : error_(std::move(error)) {}
  /// The five fields.
  const RaisedError& error() const noexcept { return error_; }
  /// The description.
  const char* what() const noexcept override { return error_.Description.c_str(); }

 private:
  RaisedError error_;
};

/// The source of a raise that names none.
inline constexpr std::string_view kLibraryName = "Mercato";

/// Numbers of the failures that the ground raises. One table for the whole library; `default_description` has the
/// conventional text of each.
/// @namespace mercato::error_number
/// Numbers of the failures that the ground raises.
namespace error_number {

inline constexpr std::int32_t kInvalidArgument = 5;           ///< an argument that makes no sense
inline constexpr std::int32_t kOverflow = 6;                  ///< a number beyond its type
inline constexpr std::int32_t kOutOfMemory = 7;               ///< memory that ran out
inline constexpr std::int32_t kSubscriptOutOfRange = 9;       ///< an index outside of its bounds
inline constexpr std::int32_t kTypeMismatch = 13;             ///< a value that cannot be converted
inline constexpr std::int32_t kFileNotFound = 53;             ///< a file that is not there
inline constexpr std::int32_t kPermissionDenied = 70;         ///< a file that may not be used so
inline constexpr std::int32_t kPathFileAccess = 75;           ///< a file or folder that cannot be read or written
inline constexpr std::int32_t kPathNotFound = 76;             ///< a folder that is not there
inline constexpr std::int32_t kObjectNotSet = 91;             ///< nothing where an object is needed
inline constexpr std::int32_t kInvalidUseOfNull = 94;         ///< Null where a value is needed
inline constexpr std::int32_t kObjectRequired = 424;          ///< a value that is no object
inline constexpr std::int32_t kCannotCreateObject = 429;      ///< a ProgID that nobody answers to
inline constexpr std::int32_t kNoSuchMethod = 438;            ///< a method that the class does not have
inline constexpr std::int32_t kArgumentNotOptional = 449;     ///< an argument that was left out
inline constexpr std::int32_t kWrongNumberOfArguments = 450;  ///< too many arguments
inline constexpr std::int32_t kDuplicateKey = 457;            ///< a key that is taken

/// Data access: 0x800A0000 plus its customary number.
inline constexpr std::int32_t data_access(std::int32_t number) {
  return static_cast<std::int32_t>(0x800A0000u + static_cast<std::uint32_t>(number));
}
inline constexpr std::int32_t kInvalidDataArgument =
    data_access(3001);                                            ///< an argument of data access that makes no sense
inline constexpr std::int32_t kNoCurrentRow = data_access(3021);  ///< a row where there is none
inline constexpr std::int32_t kFeatureNotAvailable = data_access(3251);  ///< what this recordset cannot do
inline constexpr std::int32_t kNoSuchField = data_access(3265);          ///< a name that is no field
inline constexpr std::int32_t kObjectClosed = data_access(3704);         ///< a closed connection or recordset
inline constexpr std::int32_t kObjectOpen = data_access(3705);           ///< an open one that is opened again

/// The store itself.
inline constexpr std::int32_t kStatementRefused =
    static_cast<std::int32_t>(0x80040E14u);  ///< a statement that the store does not take
inline constexpr std::int32_t kConstraintViolated =
    static_cast<std::int32_t>(0x80040E2Fu);  ///< a key or a condition of a table
inline constexpr std::int32_t kValueTooLong =
    static_cast<std::int32_t>(0x80040E57u);  ///< a text that is too long for its column
inline constexpr std::int32_t kTimeout = static_cast<std::int32_t>(0x80040E31u);  ///< a call that took too long
inline constexpr std::int32_t kStoreFailure =
    static_cast<std::int32_t>(0x80004005u);  ///< everything else, such as a store that cannot be reached

/// The text that a failure of this number has when it brings none of its own, such as "Type mismatch" for 13.
MERCATO_API std::string_view default_description(std::int32_t number);

}  // namespace error_number

/// A failure as it arrives: an empty source becomes "Mercato", an empty description the customary text of the number.
MERCATO_API RaisedError completed(RaisedError error);
/// Raises the completed failure.
[[noreturn]] MERCATO_API void raise(std::int32_t number, std::string source, std::string description);
/// Raises the failure of that number with its customary text.
[[noreturn]] MERCATO_API void raise(std::int32_t number);

/// Runs the work. A failed allocation is raised as kOutOfMemory, which needs no memory itself.
template <class Work>
decltype(auto) raising_out_of_memory(Work work) {
  try {
    return work();
  } catch (const std::bad_alloc&) {
    raise(error_number::kOutOfMemory);
  }
}

}  // namespace mercato
