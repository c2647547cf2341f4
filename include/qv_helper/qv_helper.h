/// \file
/// The qv_helper library as a host sees it: flat functions by family.
///
/// Call each family's `*_init` once before using it and its `*_exit` once
/// afterwards. Handles are opaque; the library trusts the host to pass only
/// handles, register numbers and addresses it got from the library, except
/// where a function says otherwise. Nothing here throws.
#pragma once

#include "qv_helper/VM_ObjectInterface.h"
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
  VM_ERROR_FORMAT = 0x508,       ///< image shorter than its header says, or counts no machine can have
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
// VM_: images and symbols.

/// Loads a script executable image into a machine and starts it at an entry
/// symbol. The image is checked in this order: its magic "KXVM", its version
/// (1), its checksum over the length its header gives; a header whose length
/// does not fit 32 bits, or whose memories reach beyond the 29-bit address
/// space, is refused too. A failing image changes nothing: the machine goes
/// on with what it had. A valid one
/// replaces the code, the three memories and the symbol table; object tables
/// stay.
/// \param machine [in] a live machine handle.
/// \param image [in] the image's bytes, read only during the call. The
///        caller guarantees that the block holds the whole header and the
///        length that the header's counts give.
/// \param entryName [in] the symbol to start at, in any letter case; an
///        unknown name starts at code address 0, so that the first VM_execute
///        fails. Null stops the machine and leaves code pointer, stacks,
///        registers and watches as they are.
QV_API void VM_loadExecutable(void* machine, const void* image, const char* entryName);

/// Loads an executable image from an untrusted source (a file, say), as
/// VM_loadExecutable does, but reads nothing at or beyond imageSize bytes and
/// tells why an image is refused. The tests run in this order; a test whose
/// bytes are missing fails with VM_ERROR_FORMAT:
/// fewer than 4 bytes; the magic; fewer than 8 bytes; the version; fewer than
/// the 52 bytes of the header; a header size below 52; a length that does not
/// fit 32 bits; fewer bytes than the length the header gives; the checksum; a
/// memory (section plus reserve) or code beyond the 29-bit address space; a
/// reserve of more than 2^24 cells (64 MiB) in one memory, so that a small
/// file cannot make the machine take gigabytes.
/// On any failure the machine is exactly as it was.
/// \param machine [in] a live machine handle.
/// \param image [in] imageSize bytes, read only during the call; may be null
///        when imageSize is 0.
/// \param imageSize [in] the number of bytes the caller has; below 0 counts as 0.
/// \param entryName [in] as for VM_loadExecutable.
/// \return 0, VM_ERROR_MAGIC, VM_ERROR_VERSION, VM_ERROR_CHECKSUM or VM_ERROR_FORMAT.
QV_API int VM_loadExecutableChecked(void* machine, const void* image, int imageSize, const char* entryName);

/// Looks up a symbol of the loaded image, in any letter case.
/// \param machine [in] a live machine handle.
/// \param name [in] a NUL-terminated name.
/// \return the symbol's value as the image holds it (an entry point may carry
///         the code tag), or 0 if there is none; a symbol whose value is 0
///         cannot be told from a missing one.
QV_API int VM_getSymbolAddress(void* machine, const char* name);

// ---------------------------------------------------------------------------
// VM_: disassembly.

/// Lists one code word as a line of text: the address as a code pointer, with
/// withCode the word in hexadecimal, the mnemonic padded to ten characters
/// and the operands, e.g. "60000005:  LOAD      ir1,[spi + 0x00000001]".
/// A word that does not decode reads "???". Reads the code only; the
/// machine's state does not change.
/// \param machine [in] a live machine handle.
/// \param buffer [out] receives the line, always NUL-terminated; a line that
///        does not fit is cut. Nothing is written at or beyond bufferSize.
/// \param bufferSize [in] the size of buffer in bytes; 0 or below writes nothing.
/// \param address [in] code address, low 29 bits used; should be below
///        VM_getCodeSize. Beyond the code the buffer receives the empty text.
/// \param withCode [in] whether to show the word itself.
QV_API void VM_disassemble(void* machine, char* buffer, int bufferSize, int address, bool withCode);

// ---------------------------------------------------------------------------
// VM_: registers and memory.
//
// Thin accessors; they test nothing. Register numbers are 0 to 7. Memory
// addresses use their low 29 bits only (a tagged pointer may be passed; its
// tag is ignored, so a stack pointer reads the memory of its bank, not the
// stack) and must lie below the size of their memory. They may be called from
// inside a host operation that VM_execute called; a change takes effect at once.

/// \param machine [in] a live machine handle. \param reg [in] 0 to 7.
/// \return int register reg.
QV_API int VM_getIntRegister(void* machine, int reg);
/// Sets int register reg (0 to 7) of a live machine to value.
QV_API void VM_setIntRegister(void* machine, int reg, int value);
/// \param machine [in] a live machine handle. \param reg [in] 0 to 7.
/// \return float register reg.
QV_API float VM_getFloatRegister(void* machine, int reg);
/// Sets float register reg (0 to 7) of a live machine to value.
QV_API void VM_setFloatRegister(void* machine, int reg, float value);
/// \param machine [in] a live machine handle. \param reg [in] 0 to 7.
/// \return pointer register reg, the whole tagged pointer.
QV_API int VM_getPointerRegister(void* machine, int reg);
/// Sets pointer register reg (0 to 7) of a live machine to value as it is:
/// the caller supplies the tag (a VM_PointerType ORed with the address).
QV_API void VM_setPointerRegister(void* machine, int reg, int value);
/// \param machine [in] a live machine handle.
/// \return the code address of the current instruction, without tag.
QV_API int VM_getCodePointerRegister(void* machine);

/// \param machine [in] a live machine handle.
/// \return the number of code words (a fresh machine has 2).
QV_API int VM_getCodeSize(void* machine);
/// \param machine [in] a live machine handle.
/// \return the number of int memory cells, cell 0 included.
QV_API int VM_getIntMemorySize(void* machine);
/// \param machine [in] a live machine handle.
/// \return the number of float memory cells, cell 0 included.
QV_API int VM_getFloatMemorySize(void* machine);
/// \param machine [in] a live machine handle.
/// \return the number of pointer memory cells, cell 0 included.
QV_API int VM_getPointerMemorySize(void* machine);

/// \param machine [in] a live machine handle.
/// \param address [in] int memory cell, low 29 bits used, below VM_getIntMemorySize.
/// \return the cell.
QV_API int VM_getIntMemory(void* machine, int address);
/// Sets an int memory cell (address: low 29 bits, below VM_getIntMemorySize).
QV_API void VM_setIntMemory(void* machine, int address, int value);
/// \param machine [in] a live machine handle.
/// \param address [in] float memory cell, low 29 bits used, below VM_getFloatMemorySize.
/// \return the cell.
QV_API float VM_getFloatMemory(void* machine, int address);
/// Sets a float memory cell (address: low 29 bits, below VM_getFloatMemorySize).
QV_API void VM_setFloatMemory(void* machine, int address, float value);
/// \param machine [in] a live machine handle.
/// \param address [in] pointer memory cell, low 29 bits used, below VM_getPointerMemorySize.
/// \return the address part of the tagged pointer in the cell (its low 29
///         bits), unlike VM_getPointerRegister, which gives the tag too.
QV_API int VM_getPointerMemory(void* machine, int address);
/// \param machine [in] a live machine handle.
/// \param address [in] pointer memory cell, low 29 bits used, below VM_getPointerMemorySize.
/// \return the tag of the pointer in the cell, in place (cell AND 0xE0000000).
QV_API VM_PointerType VM_getPointerMemoryPointerType(void* machine, int address);
/// Stores a pointer into int memory in a pointer memory cell: the cell becomes
/// value (the int tag is 0). value is not masked.
/// \param address [in] pointer memory cell, low 29 bits used.
/// \param value [in] the int memory address the pointer points at.
QV_API void VM_setPointerMemoryInt(void* machine, int address, int value);
/// Stores a pointer into float memory: the cell becomes value OR
/// VM_POINTER_FLOAT. value is an address, not a float, and is not masked.
/// \param address [in] pointer memory cell, low 29 bits used.
/// \param value [in] the float memory address the pointer points at.
QV_API void VM_setPointerMemoryFloat(void* machine, int address, int value);
/// Stores a pointer into pointer memory: the cell becomes value OR
/// VM_POINTER_POINTER. value is not masked.
/// \param address [in] pointer memory cell, low 29 bits used.
/// \param value [in] the pointer memory address the pointer points at.
QV_API void VM_setPointerMemoryPointer(void* machine, int address, int value);

/// Copies a string out of int memory: bytes packed four to a cell, the first
/// in the cell's low byte, ended by a zero byte (at the latest behind the
/// memory's last cell).
/// \param machine [in] a live machine handle.
/// \param address [in] the string's first cell, low 29 bits used, below
///        VM_getIntMemorySize.
/// \param buffer [out] receives the string; the rest of it is zero-filled and
///        buffer[bufferSize - 1] is always 0, so a longer string is cut to
///        bufferSize - 1 characters.
/// \param bufferSize [in] size of buffer in bytes, 1 or more.
QV_API void VM_getIntMemoryString(void* machine, int address, char* buffer, int bufferSize);
/// Writes a string into int memory, packed as VM_getIntMemoryString reads it,
/// followed by a zero cell: a text of length L takes ceil(L / 4) + 1 cells.
/// \param machine [in] a live machine handle.
/// \param address [in] the first cell, low 29 bits used. The caller makes
///        sure that all the cells lie inside int memory (VM_getIntMemorySize).
/// \param text [in] NUL-terminated text.
QV_API void VM_setIntMemoryString(void* machine, int address, const char* text);

// ---------------------------------------------------------------------------
// VM_: host objects in pointer registers and pointer memory.
//
// A script holds a host object as an object pointer: its slot in the
// machine's object table + 1, with the tag VM_POINTER_OBJECT. An object gets
// its slot the first time it crosses to the script of a machine, and keeps it;
// the same object in another machine has a slot of that machine's. The
// machine keeps a pointer to every object it has seen, so an object must
// outlive the machines that can reach it.

/// Puts a host object into a pointer register as an object pointer.
/// \param machine [in] a live machine handle.
/// \param reg [in] 0 to 7; another number changes nothing.
/// \param object [in] the object, or null. Null, or a machine that is not
///        registered, stores 0.
QV_API void VM_setPointerRegisterObject(void* machine, int reg, VM_ObjectInterface* object);

/// The host object behind a pointer register.
/// \param machine [in] a live machine handle.
/// \param reg [in] 0 to 7; another number gives null.
/// \return the object, or null when the register holds no object pointer of
///         this machine (another tag, a null object pointer, a handle outside
///         the table, or a slot a save has cleared).
QV_API VM_ObjectInterface* VM_getPointerRegisterObject(void* machine, int reg);

/// Puts a host object into a cell of pointer memory as an object pointer.
/// \param machine [in] a live machine handle.
/// \param address [in] the cell; only the low 29 bits count, so a tagged
///        pointer may be passed. A cell outside VM_getPointerMemorySize
///        changes nothing.
/// \param object [in] the object, or null. Null, or a machine that is not
///        registered, stores 0.
QV_API void VM_setPointerMemoryObject(void* machine, int address, VM_ObjectInterface* object);

/// The host object behind a cell of pointer memory.
/// \param machine [in] a live machine handle.
/// \param address [in] the cell; only the low 29 bits count. A cell outside
///        VM_getPointerMemorySize gives null.
/// \return the object, or null as for VM_getPointerRegisterObject.
QV_API VM_ObjectInterface* VM_getPointerMemoryObject(void* machine, int address);

// ---------------------------------------------------------------------------
// VM_: saved state.
//
// A running machine freezes into one block of bytes, its saved-state image:
// code, memories, stacks, open calls, watches, symbols, registers and the
// instruction it stands on, waiting or not. The image is little-endian,
// holds no host address, and outlives its machine. Host objects cannot be
// stored: the script's object pointers stay in the image as slot numbers, and
// the save hands the host the objects of the live slots, which it must give
// back, in the same order and of the same classes, on restore.
//
// Limits of a restore: every code, memory, stack and frame list holds at most
// 2^29 elements (the address space), an image is below 2^31 bytes, and no
// object slot index reaches 2^20 (1048576), so an image can make a machine
// allocate no more than its own size and 2^20 object slots. Save and restore
// between calls of VM_execute: called from inside a host operation, they do
// no harm, but the instruction that called out then finishes on the state it
// finds.

/// Saves a machine. First the objects that the script can no longer reach
/// (no register, pointer memory or pointer stack cell holds exactly their
/// pointer, and no watch is on or refers to them) are swept: their slots
/// become holes, handles of the others stay, and class records no slot needs
/// are dropped. So a save changes the machine, though not what its script
/// can reach. Writes the image with format version 2.
/// \param machine [in] a live machine handle.
/// \param image [out] a new block with the image, owned by the caller until
///        VM_deleteCurrentState; null (and imageSize 0) only if the image
///        would reach 2^31 bytes or no memory was left.
/// \param imageSize [out] its size in bytes; a fresh machine saves to 260.
/// \param objects [out] a new block of objectCount host objects, those of the
///        live slots in slot order; null when there is none.
/// \param objectCount [out] the number of live slots.
QV_API void VM_saveCurrentState(void* machine, void*& image, int& imageSize, VM_ObjectInterface**& objects,
                                int& objectCount);

/// Replaces a machine's state by a saved image: code, memories, symbols,
/// stacks, open calls, watches, registers and the instruction it stood on,
/// which goes on with the next VM_execute (a waiting one is repeated with
/// firstAttempt false). The object table is rebuilt with the image's slot
/// numbers, and the class records are asked anew from the objects. The exit
/// code stays. Reads images of format versions 1 and 2; version 1 knew no
/// triggers, so its watches come back as watches, armed.
///
/// Refused, leaving the machine exactly as it was: a wrong magic, a version
/// other than 1 and 2, a wrong checksum, and an image whose counts no machine
/// can have (see VM_restoreCurrentStateChecked); the host cannot tell these
/// apart here, only that nothing happened.
/// \param machine [in] a live machine handle.
/// \param image [in] an image from VM_saveCurrentState (of any machine), read
///        only during the call. The caller guarantees that the block holds
///        the whole header and the length its counts give.
/// \param objects [in] the objects a save returned, or equivalent ones, in
///        the same order; entries may be null. The table gets one object per
///        slot the image lists, in order: with fewer objects the remaining
///        slots stay empty (a script that uses one fails with "illegal object
///        pointer", and a watch on one is dropped, or goes when its running
///        handler returns), with more the surplus is ignored. Null counts as none.
/// \param objectCount [in] the number of entries; 0 or below for none.
QV_API void VM_restoreCurrentState(void* machine, const void* image, VM_ObjectInterface** objects, int objectCount);

/// Restores a machine as VM_restoreCurrentState does, from an image of an
/// untrusted source, reading nothing at or beyond imageSize bytes, and tells
/// why an image is refused. The tests run in this order:
/// - fewer than 4 bytes: VM_ERROR_FORMAT; the magic "VMST": VM_ERROR_MAGIC;
///   fewer than 8 bytes: VM_ERROR_FORMAT; the version, 1 or 2: VM_ERROR_VERSION;
/// - VM_ERROR_FORMAT: fewer than the 208 bytes of the header, a header size
///   below 208, a count beyond 2^29, a length of 2^31 bytes or more, fewer
///   bytes than the length the header gives;
/// - the checksum: VM_ERROR_CHECKSUM;
/// - VM_ERROR_FORMAT, contents no machine can have: saved stack pointers,
///   return addresses and frame watches not one per open call, or frame
///   lists not one more; frame tops outside their stack or not ascending; a
///   frame watch beyond the watch list, naming a watch twice, or naming one
///   whose handler is not running; object slots not ascending or from 2^20
///   on; a watch naming a slot beyond the table; a memory watch on a cell
///   outside its memory, or a watch of a pointer type that cannot be watched
///   (a memory watch: int, float or pointer; a property watch: int, float or
///   object). A watch that goes when its running handler returns is never
///   read again; its cell and type are not tested.
/// VM_restoreCurrentState makes the same tests, but for those that need the
/// size: the bytes there are, and a header size below 208.
/// \param machine [in] a live machine handle.
/// \param image [in] imageSize bytes, read only during the call; may be null
///        when imageSize is 0.
/// \param imageSize [in] the number of bytes the caller has; below 0 counts as 0.
/// \param objects, objectCount [in] as for VM_restoreCurrentState.
/// \return 0, VM_ERROR_MAGIC, VM_ERROR_VERSION, VM_ERROR_CHECKSUM or
///         VM_ERROR_FORMAT; on failure the machine is exactly as it was.
QV_API int VM_restoreCurrentStateChecked(void* machine, const void* image, int imageSize, VM_ObjectInterface** objects,
                                         int objectCount);

/// Gives back what VM_saveCurrentState returned. Either pointer may be null.
/// \param machine [in] not used; any value, also of a deleted machine.
/// \param image [in] the image block of a save, or null.
/// \param objects [in] the object block of the same save, or null.
QV_API void VM_deleteCurrentState(void* machine, void* image, VM_ObjectInterface** objects);

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

// ---------------------------------------------------------------------------
// QuadTree_: a 2D quad tree over the rectangle (0, 0) to (width, height).
//
// The tree is a fixed pyramid of grids made at creation; every object lies in
// the smallest cell that holds its whole box. Objects are the host's pointers:
// the tree never dereferences, owns or frees them. The host keeps each
// object's box (corner x, y and width, height, in world units) and passes the
// same box to every later call about that object. Boxes beyond the rectangle
// are accepted and stored as given.
//
// Queries share a common tail of arguments:
//   filter       [in] null, or a callback asked once for each object that lies
//                in the area and is not excluded, with the object and
//                filterData; false leaves the object out. It must not change
//                the tree.
//   filterData   [in] passed to the filter unchanged.
//   exclude      [in] null, or excludeCount object pointers to leave out, in
//                any order, duplicates allowed. Only read, during the call.
//   excludeCount [in] the number of pointers in exclude; 0 means no exclusion.
// Nearest queries give the object whose box centre lies closest to (x, y); of
// equal distances the first one met wins. List queries give objects in the
// order of the tree: objects of larger or border-crossing boxes (lower levels)
// first, then cells row by row, then objects by address.
// Tree handles are not checked, except by QuadTree_delete.

/// Creates the registry of trees. Call once before any other QuadTree_ call.
QV_API void QuadTree_init();

/// Deletes every tree still registered, then the registry. Call once, after
/// QuadTree_init; afterwards only QuadTree_init may be called.
QV_API void QuadTree_exit();

/// Creates and registers an empty tree over (0, 0) to (width, height).
/// \param width  [in] width of the tree's rectangle, above 0.
/// \param height [in] height of the tree's rectangle, above 0.
/// \param levels [in] number of grid levels, 1 or more: level l has 2^l by 2^l
///        cells, so memory grows with 4^levels whether cells are used or not.
/// \return the tree's handle; null for levels below 1 or when no memory was left.
QV_API void* QuadTree_create(float width, float height, int levels);

/// Unregisters and destroys a tree; the objects it listed are untouched.
/// \param tree [in] a handle from QuadTree_create; a handle that is not
///        registered (already deleted, or never a tree) is ignored.
QV_API void QuadTree_delete(void* tree);

/// Enters an object under its box. Adding an object twice enters it twice.
/// \param tree   [in] a live tree handle.
/// \param object [in] any pointer; never dereferenced.
/// \param x, y, width, height [in] the object's box: corner and size.
QV_API void QuadTree_addObject(void* tree, void* object, float x, float y, float width, float height);

/// Removes one entry of an object.
/// \param tree   [in] a live tree handle.
/// \param object [in] the object.
/// \param x, y, width, height [in] the box it was entered (or last moved)
///        under; with another box that leads to another cell nothing happens.
QV_API void QuadTree_removeObject(void* tree, void* object, float x, float y, float width, float height);

/// Moves an object from its old box to a new one.
/// \param tree   [in] a live tree handle.
/// \param object [in] the object.
/// \param oldX, oldY, oldWidth, oldHeight [in] the box it is held under; if
///        that box does not lead to the object, nothing happens.
/// \param newX, newY, newWidth, newHeight [in] its new box.
QV_API void QuadTree_moveObject(void* tree, void* object, float oldX, float oldY, float oldWidth, float oldHeight,
                                float newX, float newY, float newWidth, float newHeight);

/// Nearest object whose box touches the tree's rectangle.
/// \param tree [in] a live tree handle.
/// \param x, y [in] the point distances are measured from.
/// \param filter, filterData, exclude, excludeCount [in] the common tail.
/// \return the object, or null.
QV_API void* QuadTree_findNearestObject(void* tree, float x, float y, bool (*filter)(void*, int), int filterData,
                                        void** exclude, int excludeCount);

/// Nearest object whose box overlaps a box; touching counts, and a box of
/// zero width or height finds the objects it touches.
/// \param tree [in] a live tree handle.
/// \param x, y [in] the point distances are measured from.
/// \param boxX, boxY, boxWidth, boxHeight [in] the search box.
/// \param filter, filterData, exclude, excludeCount [in] the common tail.
/// \return the object, or null.
QV_API void* QuadTree_findNearestObjectInAABox(void* tree, float x, float y, float boxX, float boxY, float boxWidth,
                                               float boxHeight, bool (*filter)(void*, int), int filterData,
                                               void** exclude, int excludeCount);

/// Nearest object whose box meets a circle (holds it, lies in it, or crosses it).
/// \param tree [in] a live tree handle.
/// \param x, y [in] the point distances are measured from.
/// \param centreX, centreY, radius [in] the circle; radius 0 or more.
/// \param filter, filterData, exclude, excludeCount [in] the common tail.
/// \return the object, or null.
QV_API void* QuadTree_findNearestObjectInCircle(void* tree, float x, float y, float centreX, float centreY,
                                                float radius, bool (*filter)(void*, int), int filterData,
                                                void** exclude, int excludeCount);

/// Nearest object in a view triangle: apex at (x, y), height the length of
/// (directionX, directionY), sides halfAngle to either side of the direction.
/// Only objects with a box corner in the triangle, or holding all of it, count;
/// a box that a side of the triangle merely crosses does not.
/// \param tree [in] a live tree handle.
/// \param x, y [in] the apex, also the point distances are measured from.
/// \param directionX, directionY [in] view direction and depth, not zero.
/// \param halfAngle [in] radians, below a right angle; otherwise null.
/// \param filter, filterData, exclude, excludeCount [in] the common tail.
/// \return the object, or null.
QV_API void* QuadTree_findNearestObjectInSegment(void* tree, float x, float y, float directionX, float directionY,
                                                 float halfAngle, bool (*filter)(void*, int), int filterData,
                                                 void** exclude, int excludeCount);

/// Objects whose boxes overlap a box (touching counts).
/// \param tree [in] a live tree handle.
/// \param result [out] room for maxResults pointers; nothing is written past them.
/// \param maxResults [in] the limit; it cuts off the end of the tree's order,
///        not the farthest objects. The filter still sees every object in the area.
/// \param boxX, boxY, boxWidth, boxHeight [in] the box; a width or height of
///        0 or less gives 0 without calling the filter.
/// \param filter, filterData, exclude, excludeCount [in] the common tail.
/// \return the number of pointers written to result.
QV_API int QuadTree_getObjectListFromAABox(void* tree, void** result, int maxResults, float boxX, float boxY,
                                           float boxWidth, float boxHeight, bool (*filter)(void*, int), int filterData,
                                           void** exclude, int excludeCount);

/// Objects whose boxes meet a circle (hold it, lie in it, or cross it).
/// \param tree [in] a live tree handle.
/// \param result [out] room for maxResults pointers; nothing is written past them.
/// \param maxResults [in] the limit, as for QuadTree_getObjectListFromAABox.
/// \param centreX, centreY, radius [in] the circle; a radius of 0 or less
///        gives 0 without calling the filter.
/// \param filter, filterData, exclude, excludeCount [in] the common tail.
/// \return the number of pointers written to result.
QV_API int QuadTree_getObjectListFromCircle(void* tree, void** result, int maxResults, float centreX, float centreY,
                                            float radius, bool (*filter)(void*, int), int filterData, void** exclude,
                                            int excludeCount);

/// Objects whose boxes meet a view triangle (see
/// QuadTree_findNearestObjectInSegment); here a box that a side crosses counts too.
/// \param tree [in] a live tree handle.
/// \param result [out] room for maxResults pointers; nothing is written past them.
/// \param maxResults [in] the limit, as for QuadTree_getObjectListFromAABox.
/// \param x, y [in] the apex.
/// \param directionX, directionY [in] view direction and depth, not zero.
/// \param halfAngle [in] radians, below a right angle; otherwise 0 results.
/// \param filter, filterData, exclude, excludeCount [in] the common tail.
/// \return the number of pointers written to result.
QV_API int QuadTree_getObjectListFromSegment(void* tree, void** result, int maxResults, float x, float y,
                                             float directionX, float directionY, float halfAngle,
                                             bool (*filter)(void*, int), int filterData, void** exclude,
                                             int excludeCount);

// ---------------------------------------------------------------------------
// FindPath_: path finders over static and dynamic obstacles.
//
// A path finder holds the static obstacles of a map and the visibility graph
// over their corners: its nodes are the corners of the obstacles after
// inflation and merging, its edges the straight free lines between them.
// Obstacles are polygons or boxes in world units; the library copies them
// and never keeps the caller's arrays. Handles are not checked, except by
// FindPath_delete.

/// Creates the registry of path finders. Call once before any other FindPath_ call.
QV_API void FindPath_init();

/// Deletes every path finder still registered, then the registry. Does
/// nothing if there is no registry; afterwards only FindPath_init may be called.
QV_API void FindPath_exit();

/// Creates and registers a path finder without a graph: until a graph is
/// computed it knows no obstacle.
/// \return the path finder's handle.
QV_API void* FindPath_create();

/// Unregisters and destroys a path finder with its graph and obstacles.
/// \param handle [in] a handle from FindPath_create; a handle that is not
///        registered (already deleted, or never a path finder) is ignored.
QV_API void FindPath_delete(void* handle);

/// Builds the graph from polygon obstacles, replacing any earlier graph of
/// the handle completely. Also writes the debugging files "obstacles" (the
/// polygons as given) and, with a border, "obstacleborder" into the working
/// directory; tools/qvmap draws them. A file that cannot be written is
/// skipped. Obstacles are inflated, then overlapping ones are merged and one
/// inside another dropped. Edges that lie on one straight line count as
/// meeting even when apart, so two obstacles with such edges (say two boxes
/// side by side at the same height) merge into one that covers the gap
/// between them. Corners that no free line reaches, or that lie outside the
/// border, are no nodes. With no obstacle (or none with a finite point) the
/// handle is left without a graph.
/// \param handle [in] a live path finder handle.
/// \param coordinates [in] the points of all polygons one after the other, as
///        x, y pairs: the sum of pointCounts pairs. Points with a NaN or
///        infinite coordinate are left out.
/// \param pointCounts [in] polygonCount counts, the points of each polygon in
///        order, without a repeated closing point; a count below 1 gives a
///        polygon without points, which is left out.
/// \param polygonCount [in] the number of polygons; 0 or less builds no graph.
/// \param inflation [in] by how much every edge of every obstacle moves
///        outwards, with sharp corners; 0, less or NaN inflates nothing.
/// \param treeLevels [in] levels of the quad tree over the obstacles, as for
///        QuadTree_create (memory grows with 4^treeLevels); below 1 counts as 1.
/// \param border [in] null, or borderPointCount x, y pairs: the outer border
///        of the map. Corners outside it are no nodes; on it, they stay.
/// \param borderPointCount [in] the number of border points; 0 or less means
///        no border, and with 1 or 2 no corner lies inside, so no node stays.
QV_API void FindPath_computeGraph(void* handle, float* coordinates, int* pointCounts, int polygonCount, float inflation,
                                  int treeLevels, float* border, int borderPointCount);

/// Builds the graph from box obstacles, as the polygon overload does; each
/// box is the polygon (x, y), (x + width, y), (x + width, y + height),
/// (x, y + height).
/// \param handle [in] a live path finder handle.
/// \param boxes [in] boxCount boxes of four floats each: x, y, width, height.
/// \param boxCount [in] the number of boxes; 0 or less builds no graph.
/// \param inflation, treeLevels, border, borderPointCount [in] as for the
///        polygon overload.
QV_API void FindPath_computeGraph(void* handle, float* boxes, int boxCount, float inflation, int treeLevels,
                                  float* border, int borderPointCount);

/// Finds a path around the obstacles: through the graph between the corners
/// of the first and the last obstacle on the straight line, round dynamic
/// obstacles by their corners, pulled taut, and kept inside the border.
/// \param handle [in] a live path finder handle; without a graph every
///        straight line is free.
/// \param result [out] room for maxPoints x, y pairs.
/// \param maxPoints [in] the most points written; points beyond are dropped
///        from the end without notice. 0 or less writes nothing and gives 0.
/// \param fromX, fromY, toX, toY [in] the ends. An end inside an obstacle is
///        first moved out the shortest way found, so the path may start or
///        end elsewhere than asked. An end on an obstacle's edge or corner
///        counts as inside and is moved out too. Two equal ends are not
///        moved, even inside an obstacle: there is no direction to go. With
///        a NaN or infinite coordinate there is no path (0).
/// \return the number of points written: the first is the (moved) start,
///        the last the (moved) target, unless a barrier cut the path 0.001
///        before its outline or the border cut it where it leaves. 1 when
///        both ends are the same point. 0 when there is no path: obstacles on
///        the line but no corner of them in the graph, the two ends in parts
///        of the graph that no edge joins, more than 200 corner detours round
///        dynamic obstacles, or a path that never enters the border.
QV_API int FindPath_findPath(void* handle, float* result, int maxPoints, float fromX, float fromY, float toX,
                             float toY);

/// \return true if the point lies in a static or dynamic obstacle (after
///        inflation), its outline included; false without a graph, and for a
///        point with a NaN coordinate.
QV_API bool FindPath_isPointInObstacle(void* handle, float x, float y);

/// Moves a point that lies in an obstacle out along a direction, past every
/// obstacle it lands in, in steps of 0.1 beyond each outline. A free point,
/// a handle without a graph, or a direction of zero or non-finite length
/// leaves the point where it is.
/// \param x, y [in, out] the point.
/// \param directionX, directionY [in] the direction; its length doesn't matter.
QV_API void FindPath_movePointOutsideObstacles(void* handle, float& x, float& y, float directionX, float directionY);

/// Adds an obstacle that comes and goes while the game runs; the graph and the
/// cached paths stay as they are. It is inflated as the static ones are, and
/// acts on queries only if a graph was built before it was added: a new graph
/// build leaves it listed but without effect until it is added again. It
/// acts only within the reach of the graph's trees: the box around the
/// static obstacles, grown by 10 on every side.
/// A barrier also writes its points to the debugging file "dynobstacles".
/// \param points [in] pointCount x, y pairs; a count of 0 or less adds an
///        obstacle without points, which blocks nothing. One of fewer than
///        three points, or of no area, holds no point (nothing is moved out
///        of it), though paths may still go round its corners or stop at it.
/// \param data [in] the host's pointer, for FindPath_getDynamicObstacleByData.
/// \param barrier [in] true: paths stop 0.001 before it instead of going round.
/// \return the obstacle's index. The list is kept in an internal order, so
///        an add or delete may change every other obstacle's index: ask
///        FindPath_getDynamicObstacleByData again after a change.
QV_API int FindPath_addDynamicObstacle(void* handle, float* points, int pointCount, void* data, bool barrier);

/// Removes the dynamic obstacle at a valid index (not checked). Removing the
/// only obstacle clears the list, whatever the index.
QV_API void FindPath_deleteDynamicObstacle(void* handle, int index);

/// Removes every dynamic obstacle.
QV_API void FindPath_clearDynamicObstacleList(void* handle);

/// \return the lowest index whose obstacle bears `data`, or -1.
QV_API int FindPath_getDynamicObstacleByData(void* handle, void* data);

/// \return the barrier flag of the dynamic obstacle at a valid index (not checked).
QV_API bool FindPath_isDynamicObstacleBarrier(void* handle, int index);
