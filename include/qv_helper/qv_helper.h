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
                                           float boxWidth, float boxHeight, bool (*filter)(void*, int),
                                           int filterData, void** exclude, int excludeCount);

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
// FindPath_: path finders over static obstacles.
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
/// the handle completely. Obstacles are inflated, then overlapping ones are
/// merged and one inside another dropped; corners that no free line reaches,
/// or that lie outside the border, are no nodes. With no obstacle (or none
/// with a finite point) the handle is left without a graph.
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
