// SPDX-License-Identifier: Apache-2.0
// The commands, each with what the command line gave it; the result is the exit status (library.h). They write to
// standard output, and raise what the library raises: `main` turns that into a sentence.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace mercato::cli {

struct OutputOptions {
  bool json = false;
  bool trace = false;
};

// A product as the command line names it (named_product.h).
struct ProductName {
  std::string which;
  std::string supplier;  // empty: whoever's
};

// init_command.cpp
int init(const OutputOptions& output);

// gateway_commands.cpp
int serve_rpc(bool trace, bool scripted);
// Arguments are JSON; what is no JSON is a text. The error goes to standard error as JSON.
int call_once(const std::string& prog_id, const std::string& method, const std::vector<std::string>& arguments,
              bool trace);
int describe_classes(const std::string& prog_id);
// The whole gateway as an OpenRPC document.
int describe_gateway(const std::string& version);

// How values that are not certain are taken; judging_options.h has the options.
struct JudgingChoices {
  std::vector<std::string> accepted;  // names of reasons
  bool cut = false;
  std::string decimal;
  std::string dates;
};

// preview_command.cpp
struct PreviewOptions {
  std::string document;
  bool update_only = false;  // only the records whose product exists
  bool all = false;          // list the valid ones too; of changes the unchanged ones
  bool changes = false;      // what an upload would change, of price lines too
  bool write_on_errors = false;
  JudgingChoices judging = {};
};
int preview(const PreviewOptions& options, const OutputOptions& output);
// changes_command.cpp
int preview_changes(const PreviewOptions& options, const OutputOptions& output);

// upload_command.cpp
struct UploadOptions {
  std::string document;
  bool write_on_errors = false;
  bool update_only = false;
  bool without_journal = false;
  std::string file_key;  // empty: made from the document's name and the process
  std::string rest;      // a file for what was refused or is left; empty: none is written
  bool atomic = false;   // all of the document or nothing
  JudgingChoices judging = {};
};
int upload(const UploadOptions& options, const OutputOptions& output);

// find_command.cpp
struct FindOptions {
  std::vector<std::string> words;
  std::string user;  // empty: everything in the store
  std::int32_t limit = 50;
  std::int32_t offset = 0;
};
int find(const FindOptions& options, const OutputOptions& output);
int show_product(const ProductName& product, const OutputOptions& output);

// execute_command.cpp: a file's name, or "-" for standard input
int execute(const std::string& script, const OutputOptions& output);

}  // namespace mercato::cli
