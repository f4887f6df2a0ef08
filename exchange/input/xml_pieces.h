// SPDX-License-Identifier: Apache-2.0
// A large XML file piece by piece: each element below its frame comes whole, and is forgotten before the next one is
// read. Nothing outside of the file is ever loaded; of its internal subset only the internal entities count, and what
// they stand for is bounded. Names are without their prefixes. One thread.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "exchange/input/bytes.h"
#include "exchange/item.h"

namespace mercato::exchange {

struct XmlAttribute {
  std::string_view name;
  std::string value;
};

// An element with all that is below it. Names are valid as long as the file is being read.
struct XmlElement {
  std::string_view name;
  std::string text;  // its own, without that of its children and without white space at both ends
  std::vector<XmlAttribute> attributes;
  std::vector<XmlElement> children;
  Place place;  // where its start tag ends

  // Empty when there is none.
  std::string_view attribute(std::string_view name) const;
  // The first child of that name; null when there is none.
  const XmlElement* child(std::string_view name) const;
  // The text of the first child of that name; empty when there is none.
  std::string_view text_of(std::string_view name) const;
};

// What reads a format.
class XmlReader {
 public:
  static constexpr std::size_t kLargestPiece = std::size_t{16} << 20;
  static constexpr std::size_t kDeepest = 100;

  virtual ~XmlReader() = default;
  // Whether an element of that name, all elements around which are frames, is one, too. The root always is.
  virtual bool is_frame(std::string_view name) const = 0;
  // A frame begins: its name and attributes, no children yet.
  virtual void frame(const XmlElement& begin) = 0;
  // A child of a frame that is none itself.
  virtual void piece(const XmlElement& piece, std::string_view frame) = 0;
  // A piece of which something is missing, and why, as the end of a sentence that began with its name. What was kept of
  // it is in `piece`.
  virtual void flawed_piece(const XmlElement& piece, std::string_view reason) = 0;
};

// Reads to the end. Raises 5, one sentence with the line, for what is not well-formed, nested deeper than kDeepest, or
// blown up by entities, and what `bytes` and `reader` raise.
void read_xml(Bytes& bytes, XmlReader& reader);

// The name of the root of a file that begins so, as its DOCTYPE or its first tag says; empty when it is no XML.
std::string root_of_xml(std::string_view begin);

}  // namespace mercato::exchange
