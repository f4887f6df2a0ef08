// SPDX-License-Identifier: Apache-2.0
// The four entry points of the shared library, with the C calling convention, and the interfaces that they speak.
// They return the customary 32-bit codes: kOk, kFalse for a "no", a negative one for a failure. They never throw.
#pragma once

#include <cstdint>
#include <span>

#include "mercato/class_table.h"
#include "mercato/export.h"

namespace mercato {

inline constexpr std::int32_t kOk = 0;                                                      ///< done; yes
inline constexpr std::int32_t kFalse = 1;                                                   ///< no
inline constexpr std::int32_t kClassNotAvailable = static_cast<std::int32_t>(0x80040111u);  ///< no class has this id
inline constexpr std::int32_t kNullPointer = static_cast<std::int32_t>(0x80004003u);        ///< an argument is missing
inline constexpr std::int32_t kOutOfMemoryResult = static_cast<std::int32_t>(0x8007000Eu);  ///< memory ran out

/// Makes objects of one class. Counted: the receiver releases it once.
class MERCATO_API ClassObject {
 public:
  virtual ~ClassObject() = default;
  /// How the class describes itself.
  virtual const ClassTable& class_table() const = 0;
  /// A root object with a context of its own. Null when memory is short.
  virtual ComponentPtr CreateInstance() noexcept = 0;
  /// While the library is locked it cannot be unloaded.
  virtual void LockServer(bool lock) noexcept = 0;
  /// Gives the class object back; it may not be used any more.
  virtual void Release() noexcept = 0;
};

/// Every public class of the library.
MERCATO_API std::span<const ClassTable* const> library_classes();

}  // namespace mercato

extern "C" {

/// The class object for a class id, as text with its brackets. kClassNotAvailable for an unknown one, kNullPointer for a
/// missing argument. The caller releases what it receives.
MERCATO_API std::int32_t DllGetClassObject(const char* class_id, mercato::ClassObject** class_object);
/// kOk when no class object, no object made by one and no lock is left, else kFalse.
MERCATO_API std::int32_t DllCanUnloadNow();
/// Registers the ProgIDs of the library, and of the default collaborating components, with the process's component
/// registry. When a host has registered a component of its own under a collaborator's ProgID before, that one stays.
MERCATO_API std::int32_t DllRegisterServer();
/// Forgets them.
MERCATO_API std::int32_t DllUnregisterServer();
}
