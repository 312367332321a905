#include "compiled_lookup.h"

#include <bcm/field.h>

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

uint32_t byteOf(const Words& words, int word, int shift) {
  return (words[static_cast<size_t>(word)] >> shift) & 0xff;
}

bool portBit(const Words& bitmap, size_t port) {
  return (bitmap[port / 32] >> (port % 32)) & 1;
}

}  // namespace

size_t CompiledLookup::addRows(size_t count) {
  const size_t first = rows_.size() / (words_ ? words_ : 1);
  rows_.resize(rows_.size() + count * words_, 0);
  return first;
}

void CompiledLookup::build(const Group& group, const State& state) {
  built_ = true;
  version_ = group.version;
  slots_.clear();
  fields_.clear();
  bytes_.clear();
  rows_.clear();
  residual_.clear();
  std::vector<const Entry*> entries;
  for (int slot = 0; slot < static_cast<int>(group.slots.size()); ++slot) {
    if (group.slots[slot].free()) continue;
    slots_.push_back(slot);
    entries.push_back(state.entry(group.slots[slot].entry));
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
          bytes_.push_back({fields_.size(), word, shift, addRows(kValues)});
        }
      }
    }
    fields_.push_back(qualifier);
  }
  if (by_port_) port_rows_ = addRows(kValues);
  all_row_ = addRows(1);
  residual_.resize(entries.size());
  for (size_t index = 0; index < entries.size(); ++index) {
    const EntryView& view = *entries[index]->installed;
    for (const QualifierValue& q : view.qualifiers) {
      if (!tabled(q.qualifier)) residual_[index].push_back(q);
    }
    for (const Byte& byte : bytes_) compileByte(byte, view.qualifier(fields_[byte.field]), index);
    if (by_port_) compilePorts(view.qualifier(bcmFieldQualifyInPorts), index);
    set(all_row_, index);
  }
}

void CompiledLookup::compileByte(const Byte& byte, const QualifierValue* qualifier, size_t entry) {
  const uint32_t mask = qualifier ? byteOf(qualifier->mask, byte.word, byte.shift) : 0;
  const uint32_t data = qualifier ? byteOf(qualifier->data, byte.word, byte.shift) & mask : 0;
  for (uint32_t value = 0; value < kValues; ++value) {
    if ((value & mask) == data) set(byte.first_row + value, entry);
  }
}

void CompiledLookup::compilePorts(const QualifierValue* bitmap, size_t entry) {
  for (size_t port = 0; port < kValues; ++port) {
    if (!bitmap || !portBit(bitmap->mask, port) || portBit(bitmap->data, port)) {
      set(port_rows_ + port, entry);
    }
  }
}

const Entry* CompiledLookup::first_match(const Group& group, const State& state,
                                         const Packet& packet) const {
  if (slots_.empty()) return nullptr;
  thread_local std::vector<const uint64_t*> picked;
  picked.clear();
  picked.push_back(row(all_row_));
  Words field{};
  size_t current = fields_.size();
  for (const Byte& byte : bytes_) {
    if (byte.field != current) {
      current = byte.field;
      packet_field(packet, fields_[current], &field);
    }
    picked.push_back(row(byte.first_row + byteOf(field, byte.word, byte.shift)));
  }
  // A port outside the bitmaps is in no mask: every entry's bitmap lets it match.
  const bool port_in_bitmaps = packet.in_port >= 0 && packet.in_port < static_cast<int>(kValues);
  if (by_port_ && port_in_bitmaps) picked.push_back(row(port_rows_ + static_cast<size_t>(packet.in_port)));
  for (size_t word = 0; word < words_; ++word) {
    uint64_t left = picked[0][word];
    for (size_t k = 1; k < picked.size() && left; ++k) left &= picked[k][word];
    for (; left; left &= left - 1) {
      const size_t index = word * 64 + static_cast<size_t>(__builtin_ctzll(left));
      bool matches = true;
      for (const QualifierValue& q : residual_[index]) matches = matches && qualifier_matches(packet, q);
      if (matches) return state.entry(group.slots[static_cast<size_t>(slots_[index])].entry);
    }
  }
  return nullptr;
}

size_t CompiledLookup::memory() const {
  size_t bytes = rows_.size() * sizeof(uint64_t) + slots_.size() * sizeof(int) +
                 bytes_.size() * sizeof(Byte) + residual_.size() * sizeof(residual_[0]);
  for (const auto& list : residual_) bytes += list.size() * sizeof(QualifierValue);
  return bytes;
}

}  // namespace bcmsim::detail
