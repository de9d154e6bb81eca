// Numbers in file bytes, whatever the machine's own order.
#pragma once

#include <cstdint>

namespace zk::engine {

inline std::uint16_t readLittle16(const unsigned char *p) {
  return static_cast<std::uint16_t>(p[0] | p[1] << 8);
}
inline std::uint32_t readLittle32(const unsigned char *p) {
  return p[0] | static_cast<std::uint32_t>(p[1]) << 8 | static_cast<std::uint32_t>(p[2]) << 16 |
         static_cast<std::uint32_t>(p[3]) << 24;
}
inline std::uint64_t readLittle64(const unsigned char *p) {
  return readLittle32(p) | static_cast<std::uint64_t>(readLittle32(p + 4)) << 32;
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
inline std::uint64_t readBig64(const unsigned char *p) {
  return static_cast<std::uint64_t>(readBig32(p)) << 32 | readBig32(p + 4);
}
inline void writeBig16(unsigned char *p, std::uint16_t value) {
  p[0] = static_cast<unsigned char>(value >> 8);
  p[1] = static_cast<unsigned char>(value);
}
inline void writeBig32(unsigned char *p, std::uint32_t value) {
  // One by one: compilers make a single store of this.
  p[0] = static_cast<unsigned char>(value >> 24);
  p[1] = static_cast<unsigned char>(value >> 16);
  p[2] = static_cast<unsigned char>(value >> 8);
  p[3] = static_cast<unsigned char>(value);
}
inline void writeBig64(unsigned char *p, std::uint64_t value) {
  writeBig32(p, static_cast<std::uint32_t>(value >> 32));
  writeBig32(p + 4, static_cast<std::uint32_t>(value));
}

}  // namespace zk::engine
