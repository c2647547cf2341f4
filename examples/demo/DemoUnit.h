// A unit of the demo: a host object that one script machine drives. The
// script reaches the world only through the unit's properties and methods.
#pragma once

#include <cstdint>
#include <vector>

#include "DemoRandom.h"
#include "DemoWorld.h"
#include "qv_helper/qv_helper.h"

enum class DemoUnitKind { wanderer, guard };

// Member ids, as the scripts in examples/scripts/ write them ([pr1].0x00NN).
enum DemoUnitMember : short {
  kUnitX = 1,                // float, read only
  kUnitY = 2,                // float, read only
  kUnitTargetX = 3,          // float
  kUnitTargetY = 4,          // float
  kUnitState = 5,            // int, the script's own use; the picture colours by it
  kUnitNearestDistance = 6,  // float, read only: to the nearest other unit's centre
  kUnitClock = 7,            // int, read only: the frame number
  kUnitId = 8,               // int, read only
  kUnitPickTarget = 0x10,    // void: a random free target
  kUnitFindPath = 0x11,      // int: points of the path to the target, 0 if none
  kUnitWalk = 0x12,          // int: waits until the path's end; 1 at the target, 0 short of it
  kUnitLook = 0x13,          // int: other units in the view triangle ahead
  kUnitChase =
      0x14,  // int: targets the nearest other unit within fr1 (not the last one, not one within 6); its id + 1, or 0
  kUnitDrop = 0x15,  // int: drops an obstacle (ir1 0) or a barrier (ir1 1) ahead; 1 if dropped
};

// A status of the demo's own, passed through VM_execute as any error is.
constexpr int kDemoErrorReadOnly = 0x700;

class DemoUnit final : public VM_ObjectInterface {
 public:
  DemoUnit(int id, DemoUnitKind kind, float x, float y, std::uint64_t seed, DemoWorld& world);

  // Enters the unit into the world's tree; call once, before the first frame.
  void enterTree();
  // Measures nearestDistance for this frame.
  void sense();
  // Moves along the path by one step's worth of way and keeps the tree up to date.
  void advance(float step);
  // Adds the position to the trail.
  void recordTrail();

  const int id;
  const DemoUnitKind kind;
  float x, y;
  float targetX, targetY;
  float headingX = 1.0f, headingY = 0.0f;
  int state = 0;
  float nearestDistance = 0.0f;
  bool walking = false;
  std::vector<float> path;    // the last path asked for, x, y pairs
  std::size_t nextPoint = 0;  // the path point walked to
  std::vector<float> trail;   // x, y pairs
  int arrivals = 0;

 protected:
  const char* getClassName() const override { return "DemoUnit"; }
  int getObjectPropertyCount() const override;
  int getObjectMethodCount() const override;
  void getObjectPropertyDefinition(int index, short& id, VM_ObjectDataType& type, char* name, int size) override;
  void getObjectMethodDefinition(int index, short& id, VM_ObjectDataType& type, char* name, int size) override;
  int getObjectPropertyInt(int member, int& value, bool firstAttempt, void* machine) const override;
  int getObjectPropertyFloat(int member, float& value, bool firstAttempt, void* machine) const override;
  int setObjectPropertyInt(int member, int value, bool firstAttempt, void* machine) override;
  int setObjectPropertyFloat(int member, float value, bool firstAttempt, void* machine) override;
  int callObjectMethodInt(int member, int& result, bool firstAttempt, void* machine) override;
  int callObjectMethodVoid(int member, bool firstAttempt, void* machine) override;

 private:
  float speed() const;
  int chase(float radius);
  int look();

  DemoWorld& world;
  DemoRandom random;
  bool reachedTarget = false;
  DemoUnit* lastChased = nullptr;
};
