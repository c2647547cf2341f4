/// \file
/// The qv_helper library as a host sees it: flat functions by family.
///
/// Call each family's `*_init` once before using it and its `*_exit` once
/// afterwards. Handles are opaque; the library trusts the host to pass only
/// handles, register numbers and addresses it got from the library, except
/// where a function says otherwise. Nothing here throws.
#pragma once

#include "qv_helper/qv_helper_export.h"

/// A tagged pointer of the script machine: the top three bits name the space,
/// held in place; the low 29 bits are the address (0 is null).
enum VM_PointerType : unsigned int {
  VM_POINTER_INT = 0x00000000u,
  VM_POINTER_FLOAT = 0x20000000u,
  VM_POINTER_POINTER = 0x40000000u,
  VM_POINTER_CODE = 0x60000000u,
  VM_POINTER_INT_STACK = 0x80000000u,
  VM_POINTER_FLOAT_STACK = 0xA0000000u,
  VM_POINTER_POINTER_STACK = 0xC0000000u,
  VM_POINTER_OBJECT = 0xE0000000u,
};

/// Result codes of the script machine. 0 is success. A host operation returns
/// VM_WAIT to keep its script's instruction pending until the next VM_execute.
enum VM_ResultCode : int {
  VM_ERROR_ADDRESS = 0x500,      ///< bad address, handle or pointer at run time
  VM_ERROR_INSTRUCTION = 0x501,  ///< instruction word or field combination not allowed
  VM_ERROR_TYPE = 0x502,         ///< operand of the wrong type
  VM_WAIT = 0x503,               ///< not finished, no error: run it again later
  VM_ERROR_ID = 0x504,           ///< property or method id unknown to the object
  VM_ERROR_MAGIC = 0x505,        ///< image does not start with its magic word
  VM_ERROR_VERSION = 0x506,      ///< image version not supported
  VM_ERROR_CHECKSUM = 0x507,     ///< image checksum does not match
};

// ---------------------------------------------------------------------------
// Helper_: library-wide start and stop.

/// Does nothing; kept so that a host can bracket its use of the library.
QV_API void Helper_init();
/// Does nothing; the counterpart of Helper_init.
QV_API void Helper_exit();

// ---------------------------------------------------------------------------
// VM_: script machines, their life cycle.

/// Creates the registry of machines. Must precede every other VM_ call; call once.
QV_API void VM_init();

/// Deletes every machine still registered, the last in the registry (the
/// highest address) first, and then the registry. Call once, after VM_init.
QV_API void VM_exit();

/// Creates and registers a machine holding the empty program (two HALT words,
/// one zero cell in each memory), running at code address 1.
/// \return the machine's handle, or null when no memory was left.
QV_API void* VM_createVirtualMachine();

/// Unregisters and destroys a machine.
/// \param machine [in] a handle from VM_createVirtualMachine; a handle that is
///        not registered (already deleted, or never a machine) is ignored.
QV_API void VM_deleteVirtualMachine(void* machine);

/// Restarts a machine at a code address: clears stacks, frames and watches,
/// zeroes the registers, and sets it running. Code, memories and objects stay.
/// \param machine [in] a live machine handle.
/// \param address [in] code address; only its low 29 bits are used, so a
///        tagged code pointer may be passed.
QV_API void VM_start(void* machine, int address);

/// Stops a machine with exit code 0. Code pointer, stacks, registers and
/// watches stay as they are.
/// \param machine [in] a live machine handle.
QV_API void VM_stop(void* machine);

/// \param machine [in] a live machine handle.
/// \return whether the machine is running (it has not halted, stopped or failed).
QV_API bool VM_isRunning(void* machine);

// ---------------------------------------------------------------------------
// VM_: running a machine's program.

/// Runs a machine's program for one slice: instruction after instruction
/// while the machine is running, until the budget is spent, the program
/// halts or returns from its bottom level, an instruction waits (VM_WAIT),
/// or something fails. Steps already run stand in every case.
///
/// An instruction that fails or waits stays pending: the next call runs it
/// again from its beginning instead of fetching the next word. After a failure
/// the machine is still running, so a further call meets the same error unless
/// the host has changed its cause or calls VM_start or VM_stop.
/// \param machine [in] a live machine handle.
/// \param steps [in] the most instructions to run. 0x7FFFFFFF means no limit
///        (the call then ends only by a halt, a stop, a wait or an error); 0 or
///        below still runs one instruction. A waiting instruction counts for
///        none, and an instruction counts only once it has finished.
/// \return true if the slice ended normally: budget spent, machine stopped
///         (also when it was not running at the call), or an instruction
///         waiting; false if an instruction, the fetch or the decode of a word
///         failed.
QV_API bool VM_execute(void* machine, int steps);
