// Saved-state images from untrusted sources: every cut and every changed
// byte of a real image, each refusal of contents no machine can have, the
// limits, and random images, each leaving the machine exactly as it was or
// giving one that runs and saves to an image that restores again.
#include <random>

#include "support/MachineSnapshot.h"
#include "support/ScriptedHostObject.h"
#include "support/StateImage.h"

namespace {

using namespace vmw;
using snapshot::describe;
using state::Bytes;
using state::StateImage;

// A host object whose int method reads nothing of the machine: random code
// may call it with any registers.
class QuietHost : public ScriptedHostObject {
 public:
  using ScriptedHostObject::ScriptedHostObject;

 protected:
  int callObjectMethodInt(int id, int& result, bool firstAttempt, void* machine) override {
    result = 0;
    return log(id, firstAttempt, machine);
  }
};

std::string withoutTrailingHoles(std::string text) {
  const std::size_t end = text.find("\nclasses:");
  std::size_t cut = end;
  while (cut >= 4 && text.compare(cut - 4, 4, " -:-") == 0) cut -= 4;
  return text.erase(cut, end - cut);
}

class Untrusted : public ObjectMachineTest {
 protected:
  // The source: a machine inside a called function, suspended on a WAIT,
  // with a watch handler running over it; a memory watch and a property
  // trigger; two objects; two symbols.
  void SetUp() override {
    ObjectMachineTest::SetUp();
    source = VM_createVirtualMachine();
    KX_VirtualMachine* m = static_cast<KX_VirtualMachine*>(source);
    loadProgram(*m, {word("LOAD", kInt, 0, imm(1)),                       // 1
                     word("LOAD", kPtr, 0, imm(codePtr(20))),             // 2
                     word("WATCHE", kInt, 0, imm(intPtr(4))),             // 3: while cell 4 is 1
                     word("TRIGGERG", kInt, 0, based(1, 0).property(1)),  // 4: once health drops below 1
                     word("PARAM", kInt, imm(7)),                         // 5
                     word("CALL", kPtr, imm(codePtr(10))),                // 6
                     word("HALT", kInt, imm(3))});                        // 7
    m->code.resize(10);
    for (std::uint64_t w : {locals(1, 1, 1), word("WAITE", kInt, 0, absolute(intPtr(5))), word("RETURN")}) {
      m->code.append(static_cast<long long>(w));  // 10
    }
    m->code.resize(20);
    for (std::uint64_t w :
         {word("LOAD", kInt, 3, imm(0)), word("STORE", kInt, 3, absolute(intPtr(4))), word("RETURN")}) {
      m->code.append(static_cast<long long>(w));  // 20
    }
    sizeMemories(*m, 8);
    robot.health = 5;
    VM_setPointerRegisterObject(source, 1, &robot);
    VM_setPointerMemoryObject(source, 2, &crate);
    m->symbolNames.appendText("main");
    m->symbolNames.appendText("other");
    m->symbolAddresses.append(0x60000001);
    m->symbolAddresses.append(9);
    EXPECT_TRUE(VM_execute(source, 20));  // waits in the function
    VM_setIntMemory(source, 4, 1);
    EXPECT_TRUE(VM_execute(source, 1));  // the watch fires, its first word runs
    EXPECT_EQ(m->frameWatches.getCount(), 2);
    real = snapshot::save(source);
    EXPECT_EQ(real.objects, (std::vector<VM_ObjectInterface*>{&robot, &crate}));

    // The target: a machine with a program and objects of its own.
    loadProgram(*machine, {word("ADD", kInt, 1, imm(1)), word("JUMP", kPtr, imm(codePtr(1)))});
    VM_setPointerRegisterObject(handle, 2, &crate);
    EXPECT_TRUE(VM_execute(handle, 9));
    before = describe(*machine, {&robot, &crate});
  }

  int restoreChecked(const Bytes& image, std::size_t size) {
    // A block of exactly `size` bytes, so that the sanitizers see any read beyond it.
    Bytes block(image.begin(), image.begin() + static_cast<long>(size));
    block.shrink_to_fit();
    return VM_restoreCurrentStateChecked(handle, size == 0 ? nullptr : block.data(), static_cast<int>(size),
                                         real.objects.data(), static_cast<int>(real.objects.size()));
  }
  int restoreChecked(const Bytes& image) { return restoreChecked(image, image.size()); }
  void restorePlain(const Bytes& image) {
    VM_restoreCurrentState(handle, image.data(), real.objects.data(), static_cast<int>(real.objects.size()));
  }
  std::string now() const { return describe(*machine, {&robot, &crate}); }

  QuietHost robot{"Robot"};
  QuietHost crate{"Crate"};
  void* source = nullptr;
  snapshot::Saved real;
  std::string before;
};

TEST_F(Untrusted, TheTestsCoderReadsAndWritesARealImageByteForByte) {
  EXPECT_EQ(StateImage::parse(real.image).build(), real.image);
  ASSERT_EQ(restoreChecked(real.image), 0);
  EXPECT_EQ(now(), describe(*static_cast<KX_VirtualMachine*>(source), {&robot, &crate}));
}

TEST_F(Untrusted, EveryCutOfARealImageIsAFormatFailure) {
  for (std::size_t size = 0; size < real.image.size(); ++size) {
    ASSERT_EQ(restoreChecked(real.image, size), VM_ERROR_FORMAT) << size;
    ASSERT_EQ(std::string(VM_getLastErrorText()), "saved state too short") << size;
    ASSERT_EQ(now(), before) << size;
  }
  EXPECT_EQ(VM_restoreCurrentStateChecked(handle, real.image.data(), -1, nullptr, 0), VM_ERROR_FORMAT);
  // The tests keep their order on a cut image: a bad magic fails as magic
  // once its 4 bytes are there, a bad version once its 8 are.
  Bytes image = real.image;
  image[1] = 'm';
  EXPECT_EQ(restoreChecked(image, 4), VM_ERROR_MAGIC);
  image = real.image;
  image[4] = 3;
  EXPECT_EQ(restoreChecked(image, 8), VM_ERROR_VERSION);
  EXPECT_EQ(restoreChecked(image, 7), VM_ERROR_FORMAT);
  EXPECT_EQ(now(), before);
}

TEST_F(Untrusted, EveryChangedByteIsRefusedAndLeavesTheMachineAsItWas) {
  for (std::size_t at = 0; at < real.image.size(); ++at) {
    for (unsigned char change : {0x01, 0x80, 0x5A}) {
      Bytes image = real.image;
      image[at] ^= change;
      const int result = restoreChecked(image);
      // The header size and the counts move the image's end.
      const bool movesTheEnd = (at >= 12 && at < 16) || (at >= 132 && at < 208);
      if (at < 4) {
        EXPECT_EQ(result, VM_ERROR_MAGIC) << at;
      } else if (at < 8) {
        EXPECT_EQ(result, VM_ERROR_VERSION) << at;
      } else if (movesTheEnd) {
        EXPECT_TRUE(result == VM_ERROR_FORMAT || result == VM_ERROR_CHECKSUM) << at;
      } else {
        EXPECT_EQ(result, VM_ERROR_CHECKSUM) << at;
        restorePlain(image);
      }
      ASSERT_EQ(now(), before) << at;
    }
  }
  for (std::uint32_t version : {0u, 3u}) {
    Bytes image = real.image;
    state::putWord(image, 4, version);
    EXPECT_EQ(restoreChecked(image), VM_ERROR_VERSION);
    expectLastError(VM_ERROR_VERSION, "executable version: " + std::to_string(version));
    restorePlain(image);
    EXPECT_EQ(now(), before);
  }
}

TEST_F(Untrusted, ContentsNoMachineCanHaveAreRefusedByBothRestores) {
  const StateImage good = StateImage::parse(real.image);
  ASSERT_EQ(good.cells[state::kSavedSpi].size(), 2u);
  ASSERT_EQ(good.watches.size(), 2u);
  ASSERT_EQ(good.cells[state::kFrameWatches][0], 0u);  // the CALL
  const std::uint32_t running = good.cells[state::kFrameWatches][1];
  ASSERT_NE(running, 0u);
  const std::uint32_t memoryWatch = running - 1;
  const std::uint32_t propertyWatch = 1 - memoryWatch;
  ASSERT_EQ(good.watches[memoryWatch].object, 0xFFFFFFFFu);

  struct Case {
    const char* text;
    void (*change)(StateImage&, std::uint32_t memoryWatch, std::uint32_t propertyWatch);
  };
  const Case cases[] = {
      {"saved state frames out of step", [](StateImage& s, auto, auto) { s.cells[state::kSavedSpi].push_back(0); }},
      {"saved state frames out of step", [](StateImage& s, auto, auto) { s.cells[state::kSavedCp].pop_back(); }},
      {"saved state frames out of step", [](StateImage& s, auto, auto) { s.cells[state::kFrameWatches].pop_back(); }},
      {"saved state frames out of step",
       [](StateImage& s, auto, auto) {
         s.cells[state::kPointerFrames].push_back(s.cells[state::kPointerStack].size());
       }},
      {"saved state frames out of step",
       [](StateImage& s, auto, auto) {
         for (int a = state::kSavedSpi; a <= state::kFrameWatches; ++a) s.cells[a].push_back(0);
         s.cells[state::kIntFrames].push_back(1);  // the other two frame lists stay short
       }},
      {"saved state frame top outside its stack",
       [](StateImage& s, auto, auto) { s.cells[state::kIntFrames][0] = 0xFFFFFFFF; }},
      {"saved state frame top outside its stack",
       [](StateImage& s, auto, auto) {
         s.cells[state::kFloatFrames][2] = static_cast<std::uint32_t>(s.cells[state::kFloatStack].size() + 1);
       }},
      {"saved state frame tops out of order", [](StateImage& s, auto, auto) { s.cells[state::kIntFrames][1] = 0; }},
      {"saved state frame watch out of range", [](StateImage& s, auto, auto) { s.cells[state::kFrameWatches][1] = 3; }},
      {"saved state frame watch not running",
       [](StateImage& s, auto, auto p) { s.cells[state::kFrameWatches][0] = p + 1; }},
      {"saved state frame watch named twice",
       [](StateImage& s, auto, auto) { s.cells[state::kFrameWatches][0] = s.cells[state::kFrameWatches][1]; }},
      {"saved state object slots out of order",
       [](StateImage& s, auto, auto) {
         s.objectSlots = {1, 0};
       }},
      {"saved state object slots out of order",
       [](StateImage& s, auto, auto) {
         s.objectSlots = {1, 1};
       }},
      {"saved state object slot out of range",
       [](StateImage& s, auto, auto) {
         s.objectSlots = {0, 0x100000};
       }},
      {"saved state watch of an object out of range", [](StateImage& s, auto, auto p) { s.watches[p].object = 2; }},
      {"saved state watch of an object out of range",
       [](StateImage& s, auto m, auto) { s.watches[m].referenceObject = 7; }},
      {"saved state watch on a cell outside its memory", [](StateImage& s, auto m, auto) { s.watches[m].address = 0; }},
      {"saved state watch on a cell outside its memory", [](StateImage& s, auto m, auto) { s.watches[m].address = 8; }},
      {"saved state watch on a cell outside its memory",
       [](StateImage& s, auto m, auto) {
         s.watches[m].pointerType = VM_POINTER_FLOAT;
         s.cells[state::kFloatMemory].clear();  // restored as one cell
         s.watches[m].address = 1;
       }},
      {"saved state watch of a pointer type that cannot be watched",
       [](StateImage& s, auto m, auto) { s.watches[m].pointerType = VM_POINTER_CODE; }},
      {"saved state watch of a pointer type that cannot be watched",
       [](StateImage& s, auto m, auto) { s.watches[m].pointerType = VM_POINTER_OBJECT; }},
      {"saved state watch of a pointer type that cannot be watched",
       [](StateImage& s, auto, auto p) { s.watches[p].pointerType = VM_POINTER_POINTER; }},
  };
  for (const Case& c : cases) {
    StateImage changed = good;
    c.change(changed, memoryWatch, propertyWatch);
    const Bytes image = changed.build();
    EXPECT_EQ(restoreChecked(image), VM_ERROR_FORMAT) << c.text;
    EXPECT_EQ(std::string(VM_getLastErrorText()), c.text);
    ASSERT_EQ(now(), before) << c.text;
    restorePlain(image);
    ASSERT_EQ(now(), before) << c.text;
  }

  // At the edges: a watch that goes when its running handler returns is
  // never read again, so its cell is not tested; the last slot below the
  // limit makes a table of 2^20 slots; an empty stack with frame tops of 0.
  StateImage edge = good;
  edge.watches[memoryWatch].address = 99;
  edge.watches[memoryWatch].deletePending = 1;
  edge.objectSlots = {0, 0xFFFFF};
  edge.cells[state::kPointerStack].clear();
  edge.cells[state::kPointerFrames] = {0, 0, 0};
  ASSERT_EQ(restoreChecked(edge.build()), 0) << VM_getLastErrorText();
  EXPECT_EQ(machine->objects.getCount(), 0x100000);
  EXPECT_EQ(VM_getPointerRegisterObject(handle, 1), &robot);
  EXPECT_TRUE(VM_execute(handle, 3));  // the handler returns: the watch goes
  EXPECT_EQ(machine->watches.getCount(), 1);
}

TEST_F(Untrusted, CountsAndLengthsBeyondTheLimitsAreRefusedUnread) {
  // The image is only as long as it is: a count that would take it far
  // beyond must be refused before any section is read, by the plain restore too.
  const auto patched = [&](int offset, std::uint32_t value) {
    Bytes image = real.image;
    state::putWord(image, static_cast<std::size_t>(offset), value);
    state::fixChecksum(image);
    return image;
  };
  struct Limit {
    int offset;
    std::uint32_t value;
    const char* text;
  };
  const Limit limits[] = {
      {132 + 4 * state::kIntStack, 0x20000001, "saved state count out of range"},
      {204, 0x20000001, "saved state count out of range"},
      {132, 0x10000000, "saved state length out of range"},            // 2^28 code words: 2^31 bytes
      {196, 0x7FFFFFFF, "saved state length out of range"},            // symbol name bytes
      {12, 0xFFFFFFF0, "saved state length out of range"},             // the header size alone
      {132 + 4 * state::kIntMemory, 0x1000, "saved state too short"},  // only the checked restore can tell
  };
  for (const Limit& limit : limits) {
    const Bytes image = patched(limit.offset, limit.value);
    EXPECT_EQ(restoreChecked(image), VM_ERROR_FORMAT) << limit.text;
    EXPECT_EQ(std::string(VM_getLastErrorText()), limit.text);
    if (std::string(limit.text) != "saved state too short") restorePlain(image);
    ASSERT_EQ(now(), before) << limit.text;
  }
  // A header size below the header's own is refused by the checked restore.
  EXPECT_EQ(restoreChecked(patched(12, 204)), VM_ERROR_FORMAT);
  expectLastError(VM_ERROR_FORMAT, "saved state header too short");
  EXPECT_EQ(now(), before);
}

// Random changes of a real image's fields, with a right checksum. Whatever
// the restore accepts runs without touching memory outside the machine (the
// sanitizers watch) and saves to an image that restores to the same machine;
// whatever it refuses leaves the machine as it was.
TEST_F(Untrusted, RandomImagesAreRefusedCleanlyOrRunAndSaveAgain) {
  const StateImage good = StateImage::parse(real.image);
  std::mt19937 random(2024);
  const auto pick = [&](std::uint32_t n) { return static_cast<std::uint32_t>(random() % n); };
  const std::uint32_t tags[] = {VM_POINTER_INT,  VM_POINTER_FLOAT,  VM_POINTER_POINTER,
                                VM_POINTER_CODE, VM_POINTER_OBJECT, VM_POINTER_INT_STACK};
  int accepted = 0;
  int refused = 0;
  for (int round = 0; round < 1500; ++round) {
    StateImage s = good;
    for (int change = 0, changes = 1 + static_cast<int>(pick(3)); change < changes; ++change) {
      switch (pick(12)) {
        case 0:
          s.cp = pick(40);
          s.pending = static_cast<std::uint8_t>(pick(2));
          break;
        case 1:
          s.code[pick(static_cast<std::uint32_t>(s.code.size()))] = std::uint64_t{random()} << 32 | random();
          break;
        case 2:
          s.pr[pick(8)] = tags[pick(6)] | pick(5);
          s.spi = pick(12) - 2;
          break;
        case 3: {
          const int frames = state::kIntFrames + static_cast<int>(pick(3));
          s.cells[frames][pick(3)] = pick(12);
          break;
        }
        case 4:
          s.cells[state::kSavedCp][pick(2)] = pick(30);
          s.cells[state::kSavedSpi][pick(2)] = pick(9) - 3;
          break;
        case 5:
          s.cells[state::kFrameWatches][pick(2)] = pick(4);
          break;
        case 6: {
          state::WatchRecord& w = s.watches[pick(2)];
          w.object = pick(4) == 0 ? 0xFFFFFFFF : pick(4);
          w.pointerType = tags[pick(6)];
          w.address = pick(10);
          break;
        }
        case 7: {
          state::WatchRecord& w = s.watches[pick(2)];
          w.active = static_cast<std::uint8_t>(pick(2));
          w.deletePending = static_cast<std::uint8_t>(pick(2));
          w.condition = static_cast<std::uint8_t>(pick(10));
          w.handler = pick(30);
          w.referenceObject = pick(3) == 0 ? 0xFFFFFFFF : pick(3);
          break;
        }
        case 8:
          s.objectSlots = {pick(3), 1 + pick(4)};
          break;
        case 9:
          s.cells[state::kIntStack].resize(pick(6));
          break;
        case 10:
          s.symbolNames = std::string("a\0b", pick(4));
          s.symbolAddresses.resize(pick(3), 1);
          break;
        default:
          s.cells[state::kPointerStack].push_back(VM_POINTER_OBJECT | pick(4));
          s.running = static_cast<std::uint8_t>(pick(2));
          break;
      }
    }
    const Bytes image = s.build();
    // Sometimes fewer objects come back than the image has slots.
    const int given = static_cast<int>(pick(3));
    const int result =
        VM_restoreCurrentStateChecked(handle, image.data(), static_cast<int>(image.size()), real.objects.data(), given);
    if (result != 0) {
      ASSERT_EQ(result, VM_ERROR_FORMAT) << round;
      ASSERT_EQ(now(), before) << round;
      ++refused;
      continue;
    }
    ++accepted;
    for (int slice = 0; slice < 4; ++slice) VM_execute(handle, 7);
    const snapshot::Saved again = snapshot::save(handle);
    const std::string ran = now();
    void* other = VM_createVirtualMachine();
    ASSERT_EQ(VM_restoreCurrentStateChecked(other, again.image.data(), static_cast<int>(again.image.size()),
                                            const_cast<VM_ObjectInterface**>(again.objects.data()),
                                            static_cast<int>(again.objects.size())),
              0)
        << round << ": " << VM_getLastErrorText();
    // Empty slots behind the last object given back are not in the image.
    ASSERT_EQ(withoutTrailingHoles(describe(*static_cast<KX_VirtualMachine*>(other), {&robot, &crate})),
              withoutTrailingHoles(ran))
        << round;
    VM_deleteVirtualMachine(other);
    before = ran;
  }
  // Both ways were taken often.
  EXPECT_GT(accepted, 200);
  EXPECT_GT(refused, 200);
}

}  // namespace
