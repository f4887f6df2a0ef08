// SPDX-License-Identifier: Apache-2.0
// What a keeper does with products beside their own fields: hides and shows many of them, and keeps what is offered in
// their place and the files that hang on them. What is written belongs to the caller's transaction. Every function
// raises what the store and the library raise. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "keeping/product_resolver.h"

namespace mercato::keeping {

// By the library's calls Disable and Enable, one product after the other; `done` is called for each.
void set_disabled(std::span<const std::int32_t> products, bool disabled, const std::function<void()>& done);

// Alternatives

// The products that are offered in place of this one, by their ids, each once.
std::vector<NamedProduct> alternatives_of(std::int32_t product);
// False, with nothing changed, when it is one already.
bool add_alternative(std::int32_t product, std::int32_t alternative);
// The number of rows that are gone: a pair can stand there twice.
std::size_t remove_alternative(std::int32_t product, std::int32_t alternative);

// Attached files. They lie in a folder of the product below the web root of the settings.

struct AttachedFile {
  std::string name;
  std::optional<std::size_t> bytes;  // nothing when the file is not there
};
// By name.
std::vector<AttachedFile> attached_files(std::int32_t product);
// Copies the file into the product's folder and notes its name; the file that has the name there is replaced. Returns
// the name. Raises 5 without a web root, for a name that is too long, and for a file that is none.
std::string attach_file(std::int32_t product, const std::string& path);
// Forgets the name; false when the product has no such file. The file itself goes with drop_attached_file, behind the
// commit: it does not come back.
bool detach_file(std::int32_t product, const std::string& name);
void drop_attached_file(std::int32_t product, const std::string& name);

}  // namespace mercato::keeping
