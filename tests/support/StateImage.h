// A saved-state image as the tests see it: every header field and section as
// plain vectors, read from the bytes and written back by a coder of the
// tests' own, apart from the library's, with the checksum computed the long
// way. Tests parse a real save, change a field and build it again.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace state {

using Bytes = std::vector<unsigned char>;

// The sections of the fifteen arrays, in image order.
enum Array : int {
  kCode = 0,
  kIntMemory,
  kFloatMemory,
  kPointerMemory,
  kIntStack,
  kFloatStack,
  kPointerStack,
  kSavedSpi,
  kSavedSpf,
  kSavedSpp,
  kSavedCp,
  kIntFrames,
  kFloatFrames,
  kPointerFrames,
  kFrameWatches,
  kArrays
};

struct WatchRecord {
  std::uint32_t address = 0, object = 0xFFFFFFFF, pointerType = 0, referenceInt = 0, referenceFloat = 0,
                referencePointer = 0, referenceObject = 0xFFFFFFFF;
  std::uint8_t condition = 0;
  std::uint32_t handler = 0;
  std::uint8_t active = 0, deletePending = 0, savedPending = 0, savedFirstAttempt = 0, savedCompareResult = 0,
               edgeTriggered = 0, armed = 1;
};

inline std::uint32_t word(const Bytes& b, std::size_t at) {
  return std::uint32_t{b[at]} | std::uint32_t{b[at + 1]} << 8 | std::uint32_t{b[at + 2]} << 16 |
         std::uint32_t{b[at + 3]} << 24;
}
inline void putWord(Bytes& b, std::size_t at, std::uint32_t v) {
  for (int i = 0; i < 4; ++i) b[at + i] = static_cast<unsigned char>(v >> (8 * i));
}
inline void append(Bytes& b, std::uint32_t v) {
  for (int i = 0; i < 4; ++i) b.push_back(static_cast<unsigned char>(v >> (8 * i)));
}

// Each byte from offset 12 on, sign-extended, times 2^(i mod 24), XORed.
inline std::uint32_t checksum(const Bytes& image) {
  std::uint32_t sum = 0;
  for (std::size_t i = 12; i < image.size(); ++i) {
    const std::int64_t value = image[i] >= 0x80 ? static_cast<std::int64_t>(image[i]) - 256 : image[i];
    sum ^= static_cast<std::uint32_t>(static_cast<std::uint64_t>(value * (std::int64_t{1} << ((i - 12) % 24))));
  }
  return sum;
}
inline void fixChecksum(Bytes& image) {
  putWord(image, 8, checksum(image));
}

struct StateImage {
  std::uint32_t version = 2, headerSize = 208;
  std::uint32_t ir[8] = {}, fr[8] = {}, pr[8] = {};
  std::uint32_t spi = 0, spf = 0, spp = 0, cp = 0;
  std::uint8_t running = 0, pending = 0, firstAttempt = 0, compareResult = 0;
  std::vector<std::uint64_t> code;
  std::vector<std::uint32_t> cells[kArrays];  // all but kCode
  std::vector<std::uint32_t> symbolAddresses;
  std::string symbolNames;  // the name section, zeros included
  std::vector<std::uint32_t> objectSlots;
  std::vector<WatchRecord> watches;

  std::size_t recordBytes() const { return version == 1 ? 38 : 40; }

  static StateImage parse(const Bytes& b) {
    StateImage s;
    s.version = word(b, 4);
    s.headerSize = word(b, 12);
    for (int i = 0; i < 8; ++i) {
      s.ir[i] = word(b, 16 + 4 * i);
      s.fr[i] = word(b, 48 + 4 * i);
      s.pr[i] = word(b, 80 + 4 * i);
    }
    s.spi = word(b, 112);
    s.spf = word(b, 116);
    s.spp = word(b, 120);
    s.cp = word(b, 124);
    s.running = b[128];
    s.pending = b[129];
    s.firstAttempt = b[130];
    s.compareResult = b[131];
    std::size_t at = s.headerSize;
    for (int a = 0; a < kArrays; ++a) {
      const std::uint32_t count = word(b, 132 + 4 * a);
      for (std::uint32_t i = 0; i < count; ++i) {
        if (a == kCode) {
          s.code.push_back(std::uint64_t{word(b, at + 4)} << 32 | word(b, at));
          at += 8;
        } else {
          s.cells[a].push_back(word(b, at));
          at += 4;
        }
      }
    }
    for (std::uint32_t i = 0; i < word(b, 192); ++i, at += 4) s.symbolAddresses.push_back(word(b, at));
    s.symbolNames.assign(reinterpret_cast<const char*>(&b[at]), word(b, 196));
    at += word(b, 196);
    for (std::uint32_t i = 0; i < word(b, 200); ++i, at += 4) s.objectSlots.push_back(word(b, at));
    for (std::uint32_t i = 0; i < word(b, 204); ++i, at += s.recordBytes()) {
      WatchRecord w;
      w.address = word(b, at);
      w.object = word(b, at + 4);
      w.pointerType = word(b, at + 8);
      w.referenceInt = word(b, at + 12);
      w.referenceFloat = word(b, at + 16);
      w.referencePointer = word(b, at + 20);
      w.referenceObject = word(b, at + 24);
      w.condition = b[at + 28];
      w.handler = word(b, at + 29);
      w.active = b[at + 33];
      w.deletePending = b[at + 34];
      w.savedPending = b[at + 35];
      w.savedFirstAttempt = b[at + 36];
      w.savedCompareResult = b[at + 37];
      if (s.version != 1) {
        w.edgeTriggered = b[at + 38];
        w.armed = b[at + 39];
      }
      s.watches.push_back(w);
    }
    return s;
  }

  // The header size must be 208 or more; bytes behind the fields stay zero.
  Bytes build() const {
    Bytes b(headerSize, 0);
    b[0] = 'V';
    b[1] = 'M';
    b[2] = 'S';
    b[3] = 'T';
    putWord(b, 4, version);
    putWord(b, 12, headerSize);
    for (int i = 0; i < 8; ++i) {
      putWord(b, 16 + 4 * i, ir[i]);
      putWord(b, 48 + 4 * i, fr[i]);
      putWord(b, 80 + 4 * i, pr[i]);
    }
    putWord(b, 112, spi);
    putWord(b, 116, spf);
    putWord(b, 120, spp);
    putWord(b, 124, cp);
    b[128] = running;
    b[129] = pending;
    b[130] = firstAttempt;
    b[131] = compareResult;
    putWord(b, 132, static_cast<std::uint32_t>(code.size()));
    for (int a = 1; a < kArrays; ++a) putWord(b, 132 + 4 * a, static_cast<std::uint32_t>(cells[a].size()));
    putWord(b, 192, static_cast<std::uint32_t>(symbolAddresses.size()));
    putWord(b, 196, static_cast<std::uint32_t>(symbolNames.size()));
    putWord(b, 200, static_cast<std::uint32_t>(objectSlots.size()));
    putWord(b, 204, static_cast<std::uint32_t>(watches.size()));
    for (std::uint64_t w : code) {
      append(b, static_cast<std::uint32_t>(w));
      append(b, static_cast<std::uint32_t>(w >> 32));
    }
    for (int a = 1; a < kArrays; ++a) {
      for (std::uint32_t v : cells[a]) append(b, v);
    }
    for (std::uint32_t v : symbolAddresses) append(b, v);
    b.insert(b.end(), symbolNames.begin(), symbolNames.end());
    for (std::uint32_t v : objectSlots) append(b, v);
    for (const WatchRecord& w : watches) {
      for (std::uint32_t v : {w.address, w.object, w.pointerType, w.referenceInt, w.referenceFloat, w.referencePointer,
                              w.referenceObject}) {
        append(b, v);
      }
      b.push_back(w.condition);
      append(b, w.handler);
      for (std::uint8_t v : {w.active, w.deletePending, w.savedPending, w.savedFirstAttempt, w.savedCompareResult}) {
        b.push_back(v);
      }
      if (version != 1) {
        b.push_back(w.edgeTriggered);
        b.push_back(w.armed);
      }
    }
    fixChecksum(b);
    return b;
  }
};

}  // namespace state
