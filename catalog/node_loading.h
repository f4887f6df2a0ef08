// SPDX-License-Identifier: Apache-2.0
// New nodes for a catalogue, as a host loads them: no public call writes nodes. The host lists them, each with the
// place of its parent in the list, asks for circles, and has them written inside of its own transaction. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace mercato {

/// In characters.
inline constexpr std::size_t kLongestNodeName = 255;

struct NewNode {
  std::string name;
  std::optional<std::size_t> parent;     // its place in the list, from 0; nothing for a root
  std::optional<std::int32_t> category;  // the node shows its products; without one it is a plain folder
};

/// The circles of parents, each once: places in the list, from the least one upwards to its parent and on.
std::vector<std::vector<std::size_t>> circles_among(const std::vector<NewNode>& nodes);

/// Writes the nodes into the catalogue, every parent before its children. SEQUENCE counts the children of a parent, and
/// the roots, in the order of the list. `written` is called for each node. There may be no circle. Raises what the
/// store raises; the nodes before the one that failed are then written.
void write_nodes(std::int32_t catalog, const std::vector<NewNode>& nodes, const std::function<void()>& written);

}  // namespace mercato
