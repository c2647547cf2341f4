// Runs one machine for one frame. The library tells no instruction count, so
// the counting mode runs one instruction per VM_execute and counts those
// that finished: a budget of 1 either finishes one instruction (the code
// pointer moves on, or the machine stops) or meets a waiting instruction,
// which stays on its word and ends the machine's frame, as it would end a
// larger slice.
#pragma once

struct DemoSlice {
  int instructions = 0;  // finished instructions; -1 when not counted
  bool failed = false;   // an instruction failed (VM_execute gave false)
};

// At most `budget` instructions, one VM_execute each, counted. An instruction
// that jumps to itself looks like a wait here and ends the frame early.
DemoSlice runCounted(void* machine, int budget);

// One VM_execute of `budget` steps; nothing counted.
DemoSlice runSlice(void* machine, int budget);
