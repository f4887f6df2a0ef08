# SPDX-License-Identifier: Apache-2.0
# Writes OUTPUT: the texts of those FILES that declare a class with a table, as raw string literals. A comment is about what
# follows it, so the order of the files does not matter.
set(body "")
foreach(file IN LISTS FILES)
  file(READ ${file} text)
  if(text MATCHES "public ComponentOf<")
    string(APPEND body "      R\"header(${text})header\",\n")
  endif()
endforeach()
file(WRITE ${OUTPUT} "#include \"tools/gateway/header_comments.h\"\n\nnamespace mercato::gateway {\n\nstd::span<const std::string_view> header_texts() {\n  static constexpr std::string_view kTexts[] = {\n${body}  };\n  return kTexts;\n}\n\n}  // namespace mercato::gateway\n")
