// The script machine: a register machine with int, float and pointer banks,
// each with eight registers, a memory and a stack, and a code memory of 64-bit
// instruction words.
//
// Pointers are 32-bit words: a three-bit tag in the top bits (held in place,
// see VM_PointerType) and a 29-bit address. Address 0 is null in every space,
// and every stack keeps a place-holder at index 0 so that no stack address is 0.
#pragma once

#include "foundation/KX_FloatArray.h"
#include "foundation/KX_IntArray.h"
#include "foundation/KX_LongLongArray.h"
#include "foundation/KX_ObjectArray.h"
#include "foundation/KX_VoidPtrArray.h"
#include "vm/KX_VMInstruction.h"

// The mask of the address part of a tagged pointer.
constexpr unsigned int kVMAddressMask = 0x1FFFFFFFu;
constexpr unsigned int kVMTagMask = 0xE0000000u;

class KX_VirtualMachine : public KX_Base {
 public:
  // An empty program of two zero words (HALT 0), one zero cell in each memory,
  // started at address 1.
  KX_VirtualMachine();
  ~KX_VirtualMachine() override = default;
  KX_Base* newInstance() const override { return new KX_VirtualMachine(); }
  // Deep copy of the whole machine state.
  void copyFrom(const KX_Base* source) override;

  // Resets stacks, frames and watches and starts executing at `address`
  // (its low 29 bits). Code, memories and objects are left as they are.
  void startMachine(int address);
  // Stops the machine with `code` as its exit code; everything else stays.
  void stopMachine(int code);

  KX_LongLongArray code;
  KX_IntArray intMemory;
  KX_FloatArray floatMemory;
  KX_IntArray pointerMemory;  // tagged pointers
  KX_IntArray intStack;
  KX_FloatArray floatStack;
  KX_IntArray pointerStack;  // tagged pointers
  // The caller's stack pointers and return address, one element per open call.
  KX_IntArray savedSpi;
  KX_IntArray savedSpf;
  KX_IntArray savedSpp;
  KX_IntArray savedCp;
  // Per open call the watch whose firing opened it, or null for CALL; borrowed.
  KX_ObjectArray frameWatches;
  // Frame tops: the stack count that RETURN cuts back to; one more than open calls.
  KX_IntArray intFrames;
  KX_IntArray floatFrames;
  KX_IntArray pointerFrames;
  int ir[8] = {};
  float fr[8] = {};
  unsigned int pr[8] = {};
  int spi = 0;
  int spf = 0;
  int spp = 0;
  int cp = 0;
  KX_VoidPtrArray objects;          // the object table: helpers by slot
  KX_ObjectArray objectClasses;     // per slot its class record; borrowed
  KX_ObjectArray objectClassTable;  // the machine's class records, owned
  KX_ObjectArray watches;           // watch records, owned, sorted
  int exitCode = 0;                 // operand of the last HALT
  bool running = false;
  bool pending = false;       // `instruction` has been decoded but has not finished
  bool firstAttempt = false;  // this execution of the pending instruction is its first
  KX_VMInstruction instruction;
  signed char compareResult = 0;  // -1, 0 or +1
};
