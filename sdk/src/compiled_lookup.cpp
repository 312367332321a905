#include "compiled_lookup.h"

#include <bcm/field.h>

#include <algorithm>
#include <cstdlib>
#include <map>

#include "packet_match.h"

namespace bcmsim::detail {
namespace {

// Compared as data and mask against a field of the packet.
bool masked_field(int qualifier) {
  return qualifier != bcmFieldQualifyInPorts && packet_field(Packet{}, qualifier, nullptr);
}

// Compiled into a table: a masked field, or the port bitmap. The others (IP type and IP protocol
// class, matched by their meaning) are tested on the candidates the tables leave.
bool tabled(int qualifier) {
  return qualifier == bcmFieldQualifyInPorts || masked_field(qualifier);
}

uint32_t byteOf(const Words& words, size_t word, unsigned shift) {
  return (words[word] >> shift) & 0xff;
}

bool portBit(const Words& bitmap, size_t port) {
  return (bitmap[port / 32] >> (port % 32)) & 1;
}

// The masked-field qualifiers, each at its slot.
const std::vector<int>& maskedFields() {
  static const std::vector<int> fields = [] {
    std::vector<int> out;
    for (int qualifier = 0; qualifier < bcmFieldQualifyCount; ++qualifier) {
      if (masked_field(qualifier)) out.push_back(qualifier);
    }
    if (out.size() > 64) std::abort();  // PacketFields keeps a bit per field
    return out;
  }();
  return fields;
}

size_t field_slot(int qualifier) {
  const std::vector<int>& fields = maskedFields();
  return static_cast<size_t>(std::lower_bound(fields.begin(), fields.end(), qualifier) -
                             fields.begin());
}

}  // namespace

void PacketFields::read(size_t slot) {
  packet_field(packet_, maskedFields()[slot], &fields_[slot]);
  read_ |= uint64_t{1} << slot;
}

size_t CompiledLookup::addRows(size_t count) {
  const size_t first = rows_.size() / (words_ ? words_ : 1);
  rows_.resize(rows_.size() + count * words_, 0);
  return first;
}

Stat* counting_stat(State& state, const Entry& entry) {
  if (!entry.installed->stat) return nullptr;
  auto found = state.stats.find(*entry.installed->stat);
  if (found == state.stats.end() || !found->second.counting.count(entry.id)) return nullptr;
  return &found->second;
}

void CompiledLookup::build(const Group& group, State& state) {
  built_ = true;
  version_ = group.version;
  entries_.clear();
  counters_.clear();
  bytes_.clear();
  rows_.clear();
  residual_.clear();
  residual_end_.clear();
  std::vector<const Entry*>& entries = entries_;
  for (const Group::Slot& slot : group.slots) {
    if (slot.free()) continue;
    entries.push_back(state.entry(slot.entry));
    counters_.push_back(counting_stat(state, *entries.back()));
  }
  words_ = (entries.size() + 63) / 64;
  // The bytes some entry's mask touches, field by field.
  std::map<int, Words> touched;
  by_port_ = false;
  for (const Entry* entry : entries) {
    for (const QualifierValue& q : entry->installed->qualifiers) {
      by_port_ |= q.qualifier == bcmFieldQualifyInPorts;
      if (!masked_field(q.qualifier)) continue;
      Words& mask = touched[q.qualifier];
      for (size_t w = 0; w < mask.size(); ++w) mask[w] |= q.mask[w];
    }
  }
  for (const auto& [qualifier, mask] : touched) {
    for (int word = 0; word < static_cast<int>(mask.size()); ++word) {
      for (int shift = 0; shift < 32; shift += 8) {
        if (byteOf(mask, word, shift)) {
          bytes_.push_back({static_cast<uint32_t>(addRows(kValues)),
                            static_cast<uint16_t>(field_slot(qualifier)), static_cast<uint8_t>(word),
                            static_cast<uint8_t>(shift)});
        }
      }
    }
  }
  port_some_ = {};
  if (by_port_) port_rows_ = addRows(kValues);
  all_row_ = addRows(1);
  for (size_t index = 0; index < entries.size(); ++index) {
    const EntryView& view = *entries[index]->installed;
    for (const QualifierValue& q : view.qualifiers) {
      if (!tabled(q.qualifier)) residual_.push_back(q);
    }
    residual_end_.push_back(static_cast<uint32_t>(residual_.size()));
    for (const Byte& byte : bytes_) compileByte(byte, view, index);
    if (by_port_) compilePorts(view.qualifier(bcmFieldQualifyInPorts), index);
    set(all_row_, index);
  }
  orderBySelectivity();
  keepEntryBytes();
}

void CompiledLookup::orderBySelectivity() {
  // Per byte, the entries a packet's value leaves, squared and summed over the values: what the
  // byte leaves of the entries of a packet that some entry matches, the fewer the better.
  std::vector<uint64_t> matching(bytes_.size(), 0);
  std::vector<ValueBits> values(bytes_.size(), ValueBits{});
  for (size_t index = 0; index < bytes_.size(); ++index) {
    for (size_t value = 0; value < kValues; ++value) {
      const uint64_t* words = row(bytes_[index].first_row + value);
      uint64_t entries = 0;
      for (size_t w = 0; w < words_; ++w) entries += static_cast<uint64_t>(__builtin_popcountll(words[w]));
      matching[index] += entries * entries;
      if (entries) values[index][value / 64] |= uint64_t{1} << (value % 64);
    }
  }
  std::vector<size_t> order(bytes_.size());
  for (size_t index = 0; index < order.size(); ++index) order[index] = index;
  std::stable_sort(order.begin(), order.end(),
                   [&matching](size_t a, size_t b) { return matching[a] < matching[b]; });
  const std::vector<Byte> unordered = bytes_;
  byte_values_.clear();
  for (size_t index = 0; index < order.size(); ++index) {
    bytes_[index] = unordered[order[index]];
    byte_values_.push_back(values[order[index]]);
  }
}

CompiledLookup::MaskedByte CompiledLookup::maskedByte(const Byte& byte, const EntryView& view) {
  const QualifierValue* qualifier = view.qualifier(maskedFields()[byte.slot]);
  const uint32_t mask = qualifier ? byteOf(qualifier->mask, byte.word, byte.shift) : 0;
  const uint32_t data = qualifier ? byteOf(qualifier->data, byte.word, byte.shift) & mask : 0;
  return {static_cast<uint8_t>(mask), static_cast<uint8_t>(data)};
}

void CompiledLookup::compileByte(const Byte& byte, const EntryView& view, size_t entry) {
  const MaskedByte masked = maskedByte(byte, view);
  for (uint32_t value = 0; value < kValues; ++value) {
    if ((value & masked.mask) == masked.data) set(byte.first_row + value, entry);
  }
}

void CompiledLookup::keepEntryBytes() {
  entry_bytes_.clear();
  for (const Entry* entry : entries_) {
    for (const Byte& byte : bytes_) entry_bytes_.push_back(maskedByte(byte, *entry->installed));
  }
}

bool CompiledLookup::bytesMatch(size_t entry, size_t first_byte, PacketFields& fields) const {
  const MaskedByte* masked = entry_bytes_.data() + entry * bytes_.size();
  for (size_t index = first_byte; index < bytes_.size(); ++index) {
    const Byte& byte = bytes_[index];
    if ((byteOf(fields.field(byte.slot), byte.word, byte.shift) & masked[index].mask) != masked[index].data) {
      return false;
    }
  }
  return true;
}

void CompiledLookup::compilePorts(const QualifierValue* bitmap, size_t entry) {
  for (size_t port = 0; port < kValues; ++port) {
    if (!bitmap || !portBit(bitmap->mask, port) || portBit(bitmap->data, port)) {
      set(port_rows_ + port, entry);
      port_some_[port / 64] |= uint64_t{1} << (port % 64);
    }
  }
}

CompiledLookup::Found CompiledLookup::first_match(PacketFields& fields) const {
  if (entries_.empty()) return {};
  const Packet& packet = fields.packet();
  // The entries left, narrowed row by row until none is: on the stack for groups of up to
  // kStackWords * 64 entries. Before the first row, every entry is left.
  std::array<uint64_t, kStackWords> stack;
  std::vector<uint64_t> heap(words_ > kStackWords ? words_ : 0);
  uint64_t* const left = heap.empty() ? stack.data() : heap.data();
  const uint64_t* from = row(all_row_);
  const auto narrow = [&](const uint64_t* by) {
    uint64_t any = 0;
    for (size_t word = 0; word < words_; ++word) any |= left[word] = from[word] & by[word];
    from = left;
    return any != 0;
  };
  // A port outside the bitmaps is in no mask: every entry's bitmap lets it match.
  const bool port_in_bitmaps = packet.in_port >= 0 && packet.in_port < static_cast<int>(kValues);
  if (by_port_ && port_in_bitmaps && !narrow(row(port_rows_ + static_cast<size_t>(packet.in_port)))) {
    return {};
  }
  // Narrowed until one entry is left: its own bytes are compared then, not the rows.
  size_t narrowed = 0;
  for (; narrowed < bytes_.size() && !atMostOne(from); ++narrowed) {
    const Byte& byte = bytes_[narrowed];
    const uint32_t value = byteOf(fields.field(byte.slot), byte.word, byte.shift);
    if (!narrow(row(byte.first_row + value))) return {};
  }
  for (size_t word = 0; word < words_; ++word) {
    for (uint64_t bits = from[word]; bits; bits &= bits - 1) {
      const size_t index = word * 64 + static_cast<size_t>(__builtin_ctzll(bits));
      if (bytesMatch(index, narrowed, fields) && residualMatches(index, packet)) {
        return {entries_[index], counters_[index]};
      }
    }
  }
  return {};
}

bool CompiledLookup::atMostOne(const uint64_t* entries) const {
  size_t words_with_some = 0;
  for (size_t word = 0; word < words_; ++word) {
    if (!entries[word]) continue;
    if (++words_with_some > 1 || (entries[word] & (entries[word] - 1))) return false;
  }
  return true;
}

bool CompiledLookup::residualMatches(size_t entry, const Packet& packet) const {
  const size_t end = residual_end_[entry];
  for (size_t index = entry ? residual_end_[entry - 1] : 0; index < end; ++index) {
    if (!qualifier_matches(packet, residual_[index])) return false;
  }
  return true;
}

size_t CompiledLookup::memory() const {
  size_t bytes = rows_.size() * sizeof(uint64_t) + entries_.size() * (sizeof(const Entry*) + sizeof(Stat*)) +
                 bytes_.size() * sizeof(Byte) + residual_.size() * sizeof(QualifierValue) +
                 residual_end_.size() * sizeof(uint32_t) + entry_bytes_.size() * sizeof(MaskedByte);
  return bytes;
}

}  // namespace bcmsim::detail
