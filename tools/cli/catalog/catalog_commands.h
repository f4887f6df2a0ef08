// SPDX-License-Identifier: Apache-2.0
// The commands of `mercato catalog` that have a file of their own, as commands.h has the others.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "tools/cli/commands.h"

namespace mercato::cli {

// catalog_drawing.cpp
struct DrawnCatalog {
  std::string catalog;
  std::string user;        // empty: nobody's rights
  std::int32_t depth = 0;  // 0: all levels
};
int draw_catalog(const DrawnCatalog& given, const OutputOptions& output);

// catalog_load.cpp
struct LoadedCatalog {
  std::string file;
  std::string name;
  std::string description;
  bool active = false;
  bool without_journal = false;
  // Headers of the columns; empty: the usual ones.
  std::string id_column;
  std::string parent_column;
  std::string name_column;
  std::string category_column;
};
int load_catalog(const LoadedCatalog& given, const OutputOptions& output);

// catalog_migration.cpp
struct CatalogMigration {
  std::string from;
  std::string to;
  bool only_if_empty = false;
  bool replace = false;
  bool dry_run = false;
};
int migrate_catalog(const CatalogMigration& given, const OutputOptions& output);
struct CatalogSuccession : CatalogMigration {
  bool yes = false;
};
int succeed_catalog(const CatalogSuccession& given, const OutputOptions& output);

}  // namespace mercato::cli
