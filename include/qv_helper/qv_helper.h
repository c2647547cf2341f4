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

// ---------------------------------------------------------------------------
// Timer_: the game clock, with stopwatches (snapshots) and polled periodic
// events.
//
// There is one timer. Game seconds pass speedFactor times as fast as real
// seconds and stand still while the timer is paused. Snapshots and events are
// numbered separately, each from 1; the lowest id that was freed is given out
// first, and deleting one never changes the ids of the others. Ids are not
// checked: pass only ids the create functions returned that have not been
// deleted since, nor returned before a Timer_reset. All times are in game
// seconds, counted from the creation of the snapshot or event. Every Timer_
// function but Timer_init needs the timer to exist.

/// Creates the timer: running, at speed 1.0, with no snapshots or events.
/// Call once before any other Timer_ function (and again only after Timer_exit).
QV_API void Timer_init();

/// Deletes the timer, if there is one, with all its snapshots and events.
/// Afterwards only Timer_init may be called.
QV_API void Timer_exit();

/// Deletes all snapshots and events and ends a pause; the speed factor stays.
/// The next ids are 1 again.
QV_API void Timer_reset();

/// Stops game time. Does nothing if the timer is already paused, so a second
/// call does not move the start of the pause.
QV_API void Timer_pause();

/// Lets game time run on from where it stood. Does nothing if not paused; one
/// call ends the pause however often Timer_pause was called.
QV_API void Timer_unpause();

/// Changes the speed of game time from now on. Game time gathered so far is
/// kept, so snapshots and events go on without a jump; a pause stays in force.
/// \param factor [in] game seconds per real second. 0 stops game time without
///        a pause; a negative factor runs it backwards, and then no event
///        triggers. Passing the current factor changes nothing.
QV_API void Timer_setSpeedFactor(float factor);

/// Creates a periodic event at game time 0. Events don't fire by themselves:
/// the host polls them with Timer_isEventTriggered.
/// \param interval [in] period in game seconds; should be above 0 (an interval
///        of 0 never triggers). Not checked.
/// \return the event's id, 1 or more.
QV_API int Timer_createEvent(float interval);

/// Deletes an event; its id may be given out again.
/// \param id [in] a live event id.
QV_API void Timer_deleteEvent(int id);

/// \param id [in] a live event id.
/// \return game seconds since the event last triggered (since its creation if
///         it never did). Changes nothing.
QV_API float Timer_getEventDifference(int id);

/// \param id [in] a live event id.
/// \return game seconds until the next multiple of the interval, or 0 if a
///         multiple has been passed since the last poll and waits to be polled.
///         Changes nothing.
QV_API float Timer_getEventRestTime(int id);

/// Polls an event: tells whether at least one multiple of its interval has been
/// passed since the last poll. Several multiples passed in one gap give one
/// trigger.
/// \param id [in] a live event id.
/// \param difference [out] may be null; on a trigger it receives the game
///        seconds since the previous trigger (since creation for the first);
///        without a trigger it is not written.
/// \return true on a trigger.
QV_API bool Timer_isEventTriggered(int id, float* difference);

/// Creates a stopwatch at game time 0.
/// \return the snapshot's id, 1 or more.
QV_API int Timer_createSnapshot();

/// Deletes a snapshot; its id may be given out again.
/// \param id [in] a live snapshot id.
QV_API void Timer_deleteSnapshot(int id);

/// \param id [in] a live snapshot id.
/// \return game seconds since the snapshot was created.
QV_API float Timer_getSnapshotDifference(int id);
