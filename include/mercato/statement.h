// SPDX-License-Identifier: Apache-2.0
// The text of one statement, built by concatenation from pieces that say what they are. The finished text is exactly
// what was put in; the marks let the store refuse a text in which a value is anything but one literal, or a name
// anything but one name. A value type; one thread at a time.
//
//   return Sql("SELECT USERID FROM COMMODITY WHERE COMMODITYCODE='") << value(Gen_QuoteSql(code)) << "'";
//
//   Sql sql("SELECT * FROM PRODUCT WHERE PRODUCTID=");
//   sql << iProductID;
//   if (only_active) sql << " AND DISABLED=0";
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "mercato/export.h"

namespace mercato {

// Clang 14 destroys the wrong temporaries of an expression with a consteval call in it; so GCC alone holds the rule that
// the text is a literal. Every source of the library is compiled with both before a change is taken.
#ifdef __clang__
#define MERCATO_CONSTEVAL constexpr
#else
#define MERCATO_CONSTEVAL consteval
#endif

/// A piece that only the compiler can make: a literal in the source.
class MERCATO_API LiteralPiece {
 public:
  /// From a literal. Any other text does not compile with GCC; with clang an array of characters does, and its text is
  /// part of the statement unchecked.
  template <std::size_t Size>
  MERCATO_CONSTEVAL LiteralPiece(const char (&text)[Size]) : text_(text, Size - 1) {}  // NOLINT: implicit on purpose
  /// The literal.
  constexpr std::string_view text() const { return text_; }

 private:
  std::string_view text_;
};
#undef MERCATO_CONSTEVAL

/// A value. Refers to a text that outlives the expression it stands in.
struct ValuePiece {
  std::string_view text;  ///< as it stands in the statement
};
/// One name. Refers to a text that outlives the expression it stands in.
struct NamePiece {
  std::string_view text;  ///< as it stands in the statement
};
/// A clause that a caller supplies whole. Refers to a text that outlives the expression it stands in.
struct ClausePiece {
  std::string_view text;  ///< as it stands in the statement
};

/// A value: part of one text literal when it stands between quotes, else one whole literal.
inline ValuePiece value(std::string_view text) { return {text}; }
/// One name of a table or column.
inline NamePiece name(std::string_view text) { return {text}; }
/// What the interface lets a caller supply whole: a catalogue list, a where clause, sort fields. It may not end the
/// statement, begin a comment, or close a bracket that it did not open.
inline ClausePiece clause(std::string_view text) { return {text}; }

/// The text of one statement, and what each part of it is. A value type.
class MERCATO_API Sql {
 public:
  /// What a part of the text is, when it is no literal of the source.
  enum class PieceKind : std::uint8_t { value, name, clause };
  /// A part of the text, by its bytes.
  struct Mark {
    PieceKind kind;       ///< what it is
    std::uint32_t begin;  ///< its first byte
    std::uint32_t end;    ///< one past the last byte
  };

  /// An empty text, which no store takes.
  Sql() = default;
  /// A literal is a statement, and most often the beginning of one.
  Sql(LiteralPiece piece) {  // NOLINT: implicit on purpose
    make_room();
    text_ += piece.text();
  }
  /// A statement that somebody outside of the library wrote whole.
  static Sql verbatim(std::string text);

  /// Adds a literal.
  Sql& operator<<(LiteralPiece piece) & {
    make_room();
    text_ += piece.text();
    return *this;
  }
  /// Adds a value.
  Sql& operator<<(ValuePiece piece) & { return append(PieceKind::value, piece.text); }
  /// Adds a name.
  Sql& operator<<(NamePiece piece) & { return append(PieceKind::name, piece.text); }
  /// Adds a clause.
  Sql& operator<<(ClausePiece piece) & { return append(PieceKind::clause, piece.text); }
  /// Adds a number as a value in its plain decimal form.
  Sql& operator<<(std::int16_t number) & { return *this << std::int32_t{number}; }
  /// Adds a number as a value in its plain decimal form.
  Sql& operator<<(std::int32_t number) &;
  /// Adds a number as a value in its plain decimal form.
  Sql& operator<<(double number) &;
  /// Adds another statement's pieces, marks included.
  Sql& operator<<(const Sql& other) &;

  /// The same for a statement that is one expression, which is moved along from piece to piece.
  Sql operator<<(LiteralPiece piece) && { return std::move(*this << piece); }
  /// The same for a statement that is one expression.
  Sql operator<<(ValuePiece piece) && { return std::move(*this << piece); }
  /// The same for a statement that is one expression.
  Sql operator<<(NamePiece piece) && { return std::move(*this << piece); }
  /// The same for a statement that is one expression.
  Sql operator<<(ClausePiece piece) && { return std::move(*this << piece); }
  /// The same for a statement that is one expression.
  Sql operator<<(std::int16_t number) && { return std::move(*this << number); }
  /// The same for a statement that is one expression.
  Sql operator<<(std::int32_t number) && { return std::move(*this << number); }
  /// The same for a statement that is one expression.
  Sql operator<<(double number) && { return std::move(*this << number); }
  /// The same for a statement that is one expression.
  Sql operator<<(const Sql& other) && { return std::move(*this << other); }

  /// The statement.
  const std::string& text() const { return text_; }
  /// The parts that are no literals, in their order.
  const std::vector<Mark>& marks() const { return marks_; }

 private:
  // Room for the usual statement at once.
  static constexpr std::size_t kUsualLength = 160;
  static constexpr std::size_t kUsualMarks = 8;

  void make_room() {
    if (text_.capacity() < kUsualLength) text_.reserve(kUsualLength);
  }
  Sql& append(PieceKind kind, std::string_view text);

  std::string text_;
  std::vector<Mark> marks_;
};

}  // namespace mercato
