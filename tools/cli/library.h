// SPDX-License-Identifier: Apache-2.0
// How the commands use the library: the settings in force, calls by name, and what a failure says. One thread.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "mercato/component.h"
#include "mercato/variant.h"
#include "platform/store/call_limit.h"

namespace mercato::cli {

// What the command line says about the store and the settings.
struct StoreOptions {
  std::string store;
  std::string config;
};

// Exit status of every command.
inline constexpr int kDone = 0;
inline constexpr int kFailed = 1;         // the library refused, or what was asked for is not there
inline constexpr int kUsage = 2;          // the command line, or the settings file, is wrong
inline constexpr int kDoneInPart = 3;     // some of the document, or of the tree, is bad, was refused, or is left
inline constexpr int kNoStore = 4;        // the store itself failed, or a right is lacking
inline constexpr int kInterrupted = 130;  // by Ctrl-C

// Puts the settings in force: those of the file that is named, else those of `mercato.toml` when neither file nor store
// is named and it exists. A store of the command line wins. Raises what reading the file raises.
void apply_settings(const StoreOptions& options);

// How the command line names a store: a text with '=' is a connection string, any other the path of a file.
std::string connection_string_of(const std::string& store);

// The connection string in force.
std::string connection_string();

// Limits what runs while it lives as the settings limit one call: for a walk that a command takes itself. Calls of the
// library within it share the limit.
store::CallLimit call_limit();

// Calls a method by name, within the call limit of the settings. Raises what the method raises.
Variant call(const ComponentPtr& object, std::string_view method, std::vector<Variant>& arguments);
Variant call(const ComponentPtr& object, std::string_view method, std::initializer_list<Variant> arguments);

// Calls a method that casts no vote, on a new object. What the method did is committed when the object is released.
// Raises what the method and the commit raise.
Variant call_without_vote(std::string_view prog_id, std::string_view method, std::initializer_list<Variant> arguments);

}  // namespace mercato::cli
