# SPDX-License-Identifier: Apache-2.0
# Writes OUTPUT: the text of FILE as a raw string literal.
file(READ ${FILE} text)
file(WRITE ${OUTPUT} "#include \"platform/store/postgres_dialect/function_texts.h\"\n\nnamespace mercato::store::postgres {\n\nstd::string_view function_texts() {\n  return R\"functions(${text})functions\";\n}\n\n}  // namespace mercato::store::postgres\n")
