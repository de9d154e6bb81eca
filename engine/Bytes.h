// Numbers in file bytes, whatever the machine's own order.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

namespace zk::engine {

inline std::uint16_t readLittle16(const unsigned char *p) {
  return static_cast<std::uint16_t>(p[0] | p[1] << 8);
}
inline std::uint32_t readLittle32(const unsigned char *p) {
  return p[0] | static_cast<std::uint32_t>(p[1]) << 8 | static_cast<std::uint32_t>(p[2]) << 16 |
         static_cast<std::uint32_t>(p[3]) << 24;
}
inline void writeLittle16(unsigned char *p, std::uint16_t value) {
  p[0] = static_cast<unsigned char>(value);
  p[1] = static_cast<unsigned char>(value >> 8);
}
inline void writeLittle32(unsigned char *p, std::uint32_t value) {
  for (int i = 0; i < 4; ++i) p[i] = static_cast<unsigned char>(value >> (8 * i));
}
inline void writeLittle64(unsigned char *p, std::uint64_t value) {
  for (int i = 0; i < 8; ++i) p[i] = static_cast<unsigned char>(value >> (8 * i));
}
inline std::uint16_t readBig16(const unsigned char *p) {
  return static_cast<std::uint16_t>(p[0] << 8 | p[1]);
}
inline std::uint32_t readBig32(const unsigned char *p) {
  return static_cast<std::uint32_t>(p[0]) << 24 | static_cast<std::uint32_t>(p[1]) << 16 |
         static_cast<std::uint32_t>(p[2]) << 8 | p[3];
}
// Whole loads and stores, so that what is written can be read at once.
inline std::uint64_t readBig64(const unsigned char *p) {
  std::uint64_t value;
  std::memcpy(&value, p, sizeof value);
  return std::endian::native == std::endian::little ? __builtin_bswap64(value) : value;
}
inline std::uint64_t readLittle64(const unsigned char *p) {
  std::uint64_t value;
  std::memcpy(&value, p, sizeof value);
  return std::endian::native == std::endian::little ? value : __builtin_bswap64(value);
}
inline void writeBig16(unsigned char *p, std::uint16_t value) {
  p[0] = static_cast<unsigned char>(value >> 8);
  p[1] = static_cast<unsigned char>(value);
}
inline void writeBig32(unsigned char *p, std::uint32_t value) {
  p[0] = static_cast<unsigned char>(value >> 24);
  p[1] = static_cast<unsigned char>(value >> 16);
  p[2] = static_cast<unsigned char>(value >> 8);
  p[3] = static_cast<unsigned char>(value);
}
inline void writeBig64(unsigned char *p, std::uint64_t value) {
  if (std::endian::native == std::endian::little) value = __builtin_bswap64(value);
  std::memcpy(p, &value, sizeof value);
}

}  // namespace zk::engine
