#include "tests/images/LiteralDrawings.h"

#include <algorithm>
#include <random>

namespace qzmtraw::test {

namespace {

using State = LiteralDrawingState;

bool Stands(const std::string& bytes, std::size_t at, const std::string& piece) {
  return at <= bytes.size() && bytes.compare(at, piece.size(), piece) == 0;
}

/// Whether the n-byte sector's bytes from `at` to its end are a beginning of `tail`.
bool EndIsBeginningOf(const std::string& tail, const std::string& rest, std::size_t n, std::size_t at) {
  return n - at <= tail.size() && rest.compare(at, n - at, tail, 0, n - at) == 0;
}

auto StandsAt(std::size_t at, const std::string& head, std::size_t floor = 0) {
  return [=](const std::string& rest, std::size_t n) { return n >= floor && Stands(rest, at, head); };
}

/// The common search. `added` is what a tail at offset 0 adds.
auto PlainSearch(const std::string& tail, std::size_t added) {
  return [=](State& state, const std::string& rest, std::size_t n) {
    if (state.tailMatched != 0) {
      const std::size_t k = state.tailMatched;
      if (Stands(rest, 0, tail.substr(k))) {
        state.fileSize += added - k;
        return Ending::kEnds;
      }
      state.tailMatched = 0;
    }
    std::size_t i = 0;
    for (; i + tail.size() < n; ++i) {
      if (Stands(rest, i, tail)) {
        state.fileSize += i + added;
        return Ending::kEnds;
      }
    }
    for (; i < n; ++i) {
      if (EndIsBeginningOf(tail, rest, n, i)) {
        state.tailMatched = n - i;
        break;
      }
    }
    return Ending::kNone;
  };
}

Ending XarSearch(State& state, const std::string& rest, std::size_t n) {
  const std::string tail = std::string(10, '\0') + '\x03' + std::string(7, '\0');
  if (state.tailMatched != 0) {
    const std::size_t k = state.tailMatched;
    if (Stands(rest, 0, tail.substr(k))) {
      state.fileSize += 18 - k;
      return Ending::kEnds;
    }
    state.tailMatched = 0;
  }
  for (std::size_t i = 0; i < n; ++i) {
    if (rest[i] != 0) continue;
    if (i + 18 <= n) {
      if (rest[i + 1] == 0 && rest[i + 2] == 0 && rest[i + 3] == 0) {
        state.fileSize += i + 18;
        return Ending::kEnds;
      }
    } else if (EndIsBeginningOf(tail, rest, n, i)) {
      state.tailMatched = n - i;
      break;
    }
  }
  return Ending::kNone;
}

Ending LwsSearch(State& state, const std::string& rest, std::size_t n) {
  if (state.zeroPending) {
    if (rest[0] == 0) {
      state.fileSize -= 1;
      return Ending::kEnds;
    }
    state.zeroPending = false;
  }
  for (std::size_t i = 0; i + 2 <= n; ++i) {
    if (rest[i] == 0 && rest[i + 1] == 0) {
      state.fileSize += i;
      return Ending::kEnds;
    }
  }
  if (rest[n - 1] == 0) state.zeroPending = true;
  return Ending::kNone;
}

Ending GrbSearch(State& state, const std::string& rest, std::size_t n) {
  const std::string tail = "7777";
  const std::string follow = "GRIB";
  if (state.tailMatched != 0) {
    const std::size_t k = state.tailMatched;
    if (Stands(rest, 0, tail.substr(k)) && Stands(rest, 4 - k, follow)) {
      state.fileSize += 4 - k;
      return Ending::kEnds;
    }
    state.tailMatched = 0;
  } else if (state.followMatched != 0) {
    if (Stands(rest, 0, follow.substr(state.followMatched))) {
      state.fileSize -= state.followMatched;
      return Ending::kEndsKeepingFollow;
    }
    state.followMatched = 0;
  }
  std::size_t i = 0;
  for (; i + 8 < n; ++i) {
    if (Stands(rest, i, tail)) {
      state.fileSize += i + 4;
      return Ending::kEnds;
    }
  }
  for (; i < n; ++i) {
    if (rest[i] != '7') continue;
    if (i + 4 <= n) {
      if (Stands(rest, i, tail) && EndIsBeginningOf(follow, rest, n, i + 4)) {
        state.followMatched = n - i - 4;
        break;
      }
    } else if (EndIsBeginningOf(tail, rest, n, i)) {
      state.tailMatched = n - i;
      break;
    }
  }
  return Ending::kNone;
}

const std::string kPictPiece("\x08\0\0\0\x01\0\x0A\0\0\0\0", 11);
const std::string kPictEnd("\0\xFF", 2);

Ending PctSearch(State& state, const std::string& rest, std::size_t n) {
  if (state.tailMatched != 0) {
    const std::size_t k = state.tailMatched;
    if (Stands(rest, 0, kPictPiece.substr(k)) && Stands(rest, 15, kPictEnd)) {
      state.fileSize += 17 - k;
      return Ending::kEnds;
    }
    state.tailMatched = 0;
  } else if (state.endMatched != 0) {
    const bool ends = state.endMatched == 1 && rest[0] == kPictEnd[1];
    state.endMatched = 0;
    if (ends) {
      state.fileSize += 1;
      return Ending::kEnds;
    }
  }
  std::size_t i = 0;
  for (; i + 17 < n; ++i) {
    if (Stands(rest, i, kPictPiece) && Stands(rest, i + 15, kPictEnd)) {
      state.fileSize += i + 17;
      return Ending::kEnds;
    }
  }
  for (; i < n; ++i) {
    if (rest[i] != 8) continue;
    if (i + 11 <= n) {
      if (Stands(rest, i, kPictPiece) && i + 15 + 2 > n) {
        state.endMatched = static_cast<int>(n) - static_cast<int>(i) - 15;
        break;
      }
    } else if (EndIsBeginningOf(kPictPiece, rest, n, i)) {
      state.tailMatched = n - i;
      break;
    }
  }
  return Ending::kNone;
}

bool IsCgmHead(const std::string& rest, std::size_t n) {
  const std::string wanted("\x10\x22\x00\x01\x10\x5F\x00\x3E=\"Pr", 12);
  if (rest[0] != 0 || n < 14) return false;
  for (std::size_t i = 1; i <= n - 13; ++i) {
    if (Stands(rest, i, wanted)) return true;
  }
  return false;
}

bool IsAgdHead(const std::string& rest, std::size_t n) {
  return n >= 51 && Stands(rest, 0, "AGD") && rest[3] >= '1' && rest[3] <= '4';
}

}  // namespace

Hits LiteralDrawing::Scan(const Device& device) const {
  Hits hits;
  State state;
  const std::string bytes(device.Bytes().begin(), device.Bytes().end());
  const auto n = static_cast<std::size_t>(device.SectorSize());
  const auto report = [&] { hits.push_back({state.fileStart, state.fileSize}); };
  for (int index = 0; index < device.SectorCount(); ++index) {
    const std::string rest = bytes.substr(static_cast<std::size_t>(index) * n);
    if (isHead(rest, n)) {
      if ((marksBySize ? state.fileSize : state.fileStart) != 0) {
        report();
        state.fileSize = 0;
      }
      state.fileStart = device.FirstSector() + static_cast<std::uint64_t>(index);
    }
    if (state.fileStart == 0) continue;
    const Ending ending = search(state, rest, n);
    if (ending != Ending::kNone) {
      report();
      const std::size_t kept = ending == Ending::kEndsKeepingFollow ? state.followMatched : 0;
      state = State{};
      state.followMatched = kept;
      continue;
    }
    state.fileSize += n;
    if (static_cast<std::int64_t>(state.fileSize) >= firstSizeTooLarge) {
      state.fileSize = static_cast<std::uint64_t>(limit);
      report();
      state = State{};
    }
  }
  return hits;
}

const std::vector<LiteralDrawing>& LiteralDrawings() {
  constexpr std::int64_t kSmall = 0x2000000;
  constexpr std::int64_t kLarge = 0x4000000;
  static const std::string kFreeHand("\x1C\x01\0\0\x02\0\x04\x1C\x01\x14\0\x02\0\x14\x1C\x01\x16\0\x02\0", 20);
  static const std::string kFlate("FlateDecode\0", 12);
  static const std::string kAgd("RVWAGD2\0", 8);
  static const std::string kXar("XARA\xA3\xA3\r");
  static const std::string kXarTail("\0\0\0\0\0\0\0\0\0\0\x03\0\0\0\0\0\0\0", 18);
  static const std::string kDtc("\x01Parsecs\0\x03\x80\x3F\0\x02\x80\x3F\x01\0\x01", 19);
  static const std::string kCgm("\0\x07name.cg\x10\x22\0\x01\x10\x5F\0\x3E=\"Pr", 21);
  static const std::string kCgmTail("\0\xA0\0\x40", 4);
  static const std::string kGrb("GRIB\0\1\2\1\0\0\x1C", 11);
  static const std::string kPct = "PICT" + std::string(508, '\0');
  static const std::string kFourBytes = "four";
  static const std::vector<LiteralDrawing> kDrawings = {
      {"CKFH1011FileType",
       kFreeHand,
       {kFlate},
       25,
       kLarge,
       kLarge,
       false,
       StandsAt(0, kFreeHand, 51),
       PlainSearch(kFlate, 25)},
      {"CKFH5TO9FileType", "AGD3", {kAgd}, 11, kLarge, kLarge, false, IsAgdHead, PlainSearch(kAgd, 11)},
      {"CKGXarFileType",
       kXar,
       {kXarTail, std::string(4, '\0'), std::string(18, '\0')},
       18,
       kLarge,
       kLarge,
       true,
       StandsAt(0, kXar),
       XarSearch},
      {"CKGDtcFileType",
       "..CADEbinary",
       {kDtc},
       19,
       kLarge,
       kLarge,
       true,
       StandsAt(2, "CADEbinary"),
       PlainSearch(kDtc, 19)},
      {"CKGLwsFileType",
       "LWSC\r\n",
       {std::string(2, '\0')},
       0,
       kSmall,
       kSmall,
       false,
       StandsAt(0, "LWSC\r\n"),
       LwsSearch},
      {"CKGBinaryDxfFileType",
       "AutoCAD Binary DXF",
       {"EOF"},
       3,
       kSmall,
       kSmall,
       false,
       StandsAt(0, "AutoCAD Binary DXF"),
       PlainSearch("EOF", 3)},
      {"CKGGrbFileType",
       kGrb,
       {"7777", "7777GRIB", "77777GRI", "777777"},
       4,
       kSmall,
       kSmall,
       false,
       [](const std::string& rest, std::size_t /*n*/) {
         return Stands(rest, 0, "GRIB") && Stands(rest, 7, std::string("\1\0\0\x1C", 4));
       },
       GrbSearch},
      {"CKGCgmBinaryFileType", kCgm, {kCgmTail}, 4, kSmall + 1, kSmall, false, IsCgmHead, PlainSearch(kCgmTail, 4)},
      {"CKGPctFileType",
       kPct,
       {kPictPiece + kFourBytes + kPictEnd, kPictPiece},
       17,
       kSmall + 1,
       kSmall,
       false,
       StandsAt(0, kPct),
       PctSearch},
  };
  return kDrawings;
}

Device DeviceOfDrawings(std::uint32_t seed, const LiteralDrawing& drawing) {
  std::mt19937 random(seed);
  const auto below = [&](std::size_t end) { return static_cast<std::size_t>(random()) % end; };
  const std::size_t n = 1 + below(random() % 2 == 0 ? 24 : 80);
  // As many sectors as a few heads take, and some more.
  const std::size_t count = 4 + below(40) + 3 * drawing.head.size() / n;
  const std::uint64_t firstSector = random() % 8 == 0 ? 0 : Device::kFirstSector;
  Device device(static_cast<int>(count), static_cast<int>(n), firstSector, 'x');
  const auto put = [&](std::size_t position, const std::string& bytes) {
    if (position + bytes.size() <= count * n) device.Put(firstSector, position, bytes);
  };
  for (std::size_t sector = 0; sector < count; sector += 1 + below(6)) {
    put(sector * n, drawing.head);
    sector += drawing.head.size() / n;
    for (std::size_t pieces = below(3); pieces > 0; --pieces) {
      const std::string& tail = drawing.tails[below(drawing.tails.size())];
      const std::size_t length = random() % 3 == 0 ? 1 + below(tail.size()) : tail.size();
      const std::size_t boundary = (sector + 1 + below(2)) * n;
      const std::size_t before = below(tail.size() + 10);
      if (boundary >= before) put(boundary - before, tail.substr(0, length));
    }
  }
  return device;
}

}  // namespace qzmtraw::test
