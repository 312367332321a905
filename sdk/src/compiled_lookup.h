// A group's installed entries compiled for lookup by bit vectors. Every compared packet field is
// cut into bytes; for each byte that some entry's mask touches, a table gives, per value of the
// byte, the entries that value lets match (one bit per entry, in slot order). The arrival port is
// one more table, for port bitmaps. A lookup ANDs the rows the packet's bytes pick, the most
// selective byte first, until at most one entry is left (or none: the lookup stops), then
// compares that entry's own remaining bytes, kept beside the tables, and takes the first entry
// left whose other qualifiers (IP type and IP protocol class, which are not masked compares)
// match: the cost goes with the bytes compared, not with the entries.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include <bcmsim/classify.h>

namespace bcmsim::detail {

// The packet's masked fields, each read once for all the groups that compare it.
class PacketFields {
 public:
  explicit PacketFields(const Packet& packet) : packet_(packet) {}
  const Packet& packet() const { return packet_; }
  // The field of a masked-field qualifier by its slot (field_slot).
  const Words& field(size_t slot) {
    if (!((read_ >> slot) & 1)) read(slot);
    return fields_[slot];
  }

 private:
  void read(size_t slot);

  const Packet& packet_;
  std::array<Words, 64> fields_;
  uint64_t read_ = 0;  // a bit per slot read into fields_
};

// The statistics object the installed entry's hardware counts for; null when none does.
Stat* counting_stat(State& state, const Entry& entry);

class CompiledLookup {
 public:
  // Compiles the group again when it changed since it was compiled: at the first lookup after a
  // change, so that programming does not pay for it.
  void refresh(const Group& group, State& state) {
    if (!built_ || version_ != group.version) build(group, state);
  }
  struct Found {
    const Entry* entry = nullptr;
    Stat* counter = nullptr;  // the statistics object its hardware counts for, if any
  };
  // The first installed entry, in slot order, whose qualifiers all match the packet. Entries and
  // what they count for stay as they are until their group changes, which compiles it again.
  Found first_match(PacketFields& fields) const;
  // Bytes of the tables and lists.
  size_t memory() const;

  static constexpr size_t kValues = 256;  // rows of a byte's table, and of the port table
  using ValueBits = std::array<uint64_t, kValues / 64>;

  // One byte of a compared field, (word, shift) of the field in `slot`: its table starts at row
  // `first_row`.
  struct Byte {
    uint32_t first_row;
    uint16_t slot;  // of the field, for PacketFields
    uint8_t word;
    uint8_t shift;
  };
  // For a filter ahead of the lookups: the bytes compared, the values of each whose row holds
  // some entry, and the arrival ports whose row holds some entry (null when no entry holds a port
  // bitmap; a port beyond the rows lets every entry match). The group matches nothing when it has
  // no entry.
  bool empty() const { return entries_.empty(); }
  const std::vector<Byte>& bytes() const { return bytes_; }
  const ValueBits& values(size_t byte) const { return byte_values_[byte]; }
  const ValueBits* ports() const { return by_port_ ? &port_some_ : nullptr; }

 private:
  static constexpr size_t kStackWords = 64;  // a lookup's entries left, held on the stack

  void build(const Group& group, State& state);
  // An entry's mask and data in one byte (both zero where it does not compare the byte).
  struct MaskedByte {
    uint8_t mask;
    uint8_t data;
  };
  static MaskedByte maskedByte(const Byte& byte, const EntryView& view);
  // Sets the entry's bit in the rows of the byte's table whose value its data and mask let match.
  void compileByte(const Byte& byte, const EntryView& view, size_t entry);
  // Keeps each entry's masked bytes, in the bytes' final order.
  void keepEntryBytes();
  // Whether the packet matches the entry's bytes from `first_byte` on.
  bool bytesMatch(size_t entry, size_t first_byte, PacketFields& fields) const;
  bool atMostOne(const uint64_t* entries) const;
  void compilePorts(const QualifierValue* bitmap, size_t entry);
  void set(size_t row_index, size_t entry) { row(row_index)[entry / 64] |= uint64_t{1} << (entry % 64); }
  // Whether the entry's qualifiers that no table holds match the packet.
  bool residualMatches(size_t entry, const Packet& packet) const;
  // Puts the bytes that leave fewest entries first.
  void orderBySelectivity();

  // Rows of `words_` 64-bit words each.
  uint64_t* row(size_t index) { return rows_.data() + index * words_; }
  const uint64_t* row(size_t index) const { return rows_.data() + index * words_; }
  size_t addRows(size_t count);

  uint64_t version_ = 0;
  bool built_ = false;
  size_t words_ = 0;
  std::vector<const Entry*> entries_;      // each entry compiled, in slot order
  std::vector<Stat*> counters_;            // what each entry counts for
  std::vector<Byte> bytes_;                // the bytes some entry compares, most selective first
  std::vector<ValueBits> byte_values_;     // of each byte, the values whose row holds some entry
  std::vector<uint64_t> rows_;             // every table's rows, then a row of every entry
  size_t all_row_ = 0;
  size_t port_rows_ = 0;                   // first row of the arrival port's table
  bool by_port_ = false;                   // some entry holds a port bitmap
  ValueBits port_some_{};                  // a bit per port whose row holds some entry
  std::vector<MaskedByte> entry_bytes_;   // entry after entry, each byte of bytes_
  // What no table holds, entry after entry: entry N's end at residual_end_[N].
  std::vector<QualifierValue> residual_;
  std::vector<uint32_t> residual_end_;
};

}  // namespace bcmsim::detail
