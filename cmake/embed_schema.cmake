# SPDX-License-Identifier: Apache-2.0
# Writes OUTPUT: the texts of FILES as a table of raw string literals, in the order of their names.
set(body "")
foreach(file IN LISTS FILES)
  get_filename_component(name ${file} NAME)
  file(READ ${file} text)
  string(APPEND body "    {\"${name}\", R\"schema(${text})schema\"},\n")
endforeach()
file(WRITE ${OUTPUT} "#include \"frame/schema_texts.h\"\n\nnamespace mercato {\n\nstd::span<const SchemaText> schema_texts() {\n  static constexpr SchemaText kTexts[] = {\n${body}  };\n  return kTexts;\n}\n\n}  // namespace mercato\n")
