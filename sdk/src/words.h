// Conversions between SDK values and the word form the device stores them in.
#pragma once

#include <bcm/types.h>

#include <bcmsim/state.h>

namespace bcmsim::detail {

inline Words scalar_words(uint32_t value) {
  Words w{};
  w[0] = value;
  return w;
}

inline Words mac_words(const uint8* mac) {
  Words w{};
  w[0] = (uint32_t{mac[0]} << 8) | mac[1];
  w[1] = (uint32_t{mac[2]} << 24) | (uint32_t{mac[3]} << 16) | (uint32_t{mac[4]} << 8) | mac[5];
  return w;
}

inline Words ip6_words(const uint8* ip6) {
  Words w{};
  for (int i = 0; i < 16; ++i) w[i / 4] |= uint32_t{ip6[i]} << (8 * (3 - i % 4));
  return w;
}

inline Words pbmp_words(const bcm_pbmp_t& pbmp) {
  Words w{};
  for (int i = 0; i < _SHR_PBMP_WORD_MAX && i < static_cast<int>(w.size()); ++i)
    w[i] = pbmp.pbits[i];
  return w;
}

inline Words pair_words(uint32_t first, uint32_t second) {
  Words w{};
  w[0] = first;
  w[1] = second;
  return w;
}

}  // namespace bcmsim::detail
