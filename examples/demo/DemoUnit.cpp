#include "DemoUnit.h"

#include <cmath>
#include <cstdio>

namespace {

struct Member {
  short id;
  VM_ObjectDataType type;
  const char* name;
};

const Member kProperties[] = {
    {kUnitX, VM_DATA_FLOAT, "x"},
    {kUnitY, VM_DATA_FLOAT, "y"},
    {kUnitTargetX, VM_DATA_FLOAT, "targetX"},
    {kUnitTargetY, VM_DATA_FLOAT, "targetY"},
    {kUnitState, VM_DATA_INT, "state"},
    {kUnitNearestDistance, VM_DATA_FLOAT, "nearestDistance"},
    {kUnitClock, VM_DATA_INT, "clock"},
    {kUnitId, VM_DATA_INT, "id"},
};

const Member kMethods[] = {
    {kUnitPickTarget, VM_DATA_VOID, "pickTarget"},
    {kUnitFindPath, VM_DATA_INT, "findPath"},
    {kUnitWalk, VM_DATA_INT, "walk"},
    {kUnitLook, VM_DATA_INT, "look"},
    {kUnitChase, VM_DATA_INT, "chase"},
    {kUnitDrop, VM_DATA_INT, "drop"},
};

constexpr float kBoxSize = 2.0f;  // a unit's box in the tree, around its centre
constexpr float kNoneNear = 1.0e9f;
constexpr float kViewDepth = 50.0f;
constexpr float kViewHalfAngle = 0.6f;  // radians
constexpr float kArrivedWithin = 0.5f;  // a path's end this near the target reached it
constexpr float kChaseNearest = 6.0f;
constexpr int kMaxListed = 64;

void describe(const Member& member, short& id, VM_ObjectDataType& type, char* name, int size) {
  id = member.id;
  type = member.type;
  std::snprintf(name, static_cast<std::size_t>(size), "%s", member.name);
}

float distance(float ax, float ay, float bx, float by) {
  return std::hypot(bx - ax, by - ay);
}

}  // namespace

DemoUnit::DemoUnit(int id, DemoUnitKind kind, float x, float y, std::uint64_t seed, DemoWorld& world)
    : id(id), kind(kind), x(x), y(y), targetX(x), targetY(y), world(world), random(seed) {}

float DemoUnit::speed() const {
  return kind == DemoUnitKind::guard ? 14.0f : 18.0f;
}

void DemoUnit::enterTree() {
  QuadTree_addObject(world.tree, this, x - kBoxSize / 2, y - kBoxSize / 2, kBoxSize, kBoxSize);
  recordTrail();
}

void DemoUnit::sense() {
  void* self = this;
  void* other = timed(world.stats.treeQueries,
                      [&] { return QuadTree_findNearestObject(world.tree, x, y, nullptr, 0, &self, 1); });
  // Only the distance counts, so a tie between two units can't change anything.
  const DemoUnit* unit = static_cast<const DemoUnit*>(other);
  nearestDistance = unit == nullptr ? kNoneNear : distance(x, y, unit->x, unit->y);
}

void DemoUnit::advance(float step) {
  if (!walking) return;
  const float oldX = x, oldY = y;
  float way = speed() * step;
  while (way > 0.0f && nextPoint < path.size() / 2) {
    const float px = path[2 * nextPoint], py = path[2 * nextPoint + 1];
    const float left = distance(x, y, px, py);
    if (left <= way) {
      x = px;
      y = py;
      way -= left;
      ++nextPoint;
    } else {
      x += (px - x) / left * way;
      y += (py - y) / left * way;
      way = 0.0f;
    }
  }
  if (x != oldX || y != oldY) {
    headingX = x - oldX;
    headingY = y - oldY;
    QuadTree_moveObject(world.tree, this, oldX - kBoxSize / 2, oldY - kBoxSize / 2, kBoxSize, kBoxSize,
                        x - kBoxSize / 2, y - kBoxSize / 2, kBoxSize, kBoxSize);
  }
  if (nextPoint >= path.size() / 2) {
    walking = false;
    reachedTarget = distance(x, y, targetX, targetY) <= kArrivedWithin;
    if (reachedTarget) {
      ++arrivals;
      ++world.stats.arrivals;
    } else {
      ++world.stats.stoppedShort;
    }
  }
}

void DemoUnit::recordTrail() {
  trail.push_back(x);
  trail.push_back(y);
}

int DemoUnit::look() {
  void* self = this;
  void* seen[kMaxListed];
  const float length = std::hypot(headingX, headingY);  // never 0: set only from a move
  const float viewX = headingX / length * kViewDepth, viewY = headingY / length * kViewDepth;
  return timed(world.stats.treeQueries, [&] {
    return QuadTree_getObjectListFromSegment(world.tree, seen, kMaxListed, x, y, viewX, viewY, kViewHalfAngle, nullptr,
                                             0, &self, 1);
  });
}

int DemoUnit::chase(float radius) {
  if (!(radius > 0.0f)) return 0;
  // Not itself, and not the unit it went to last, which may still stand there.
  void* exclude[2] = {this, lastChased};
  const int excludeCount = lastChased == nullptr ? 1 : 2;
  const DemoUnit* nearest = static_cast<const DemoUnit*>(timed(world.stats.treeQueries, [&] {
    return QuadTree_findNearestObjectInCircle(world.tree, x, y, x, y, radius, nullptr, 0, exclude, excludeCount);
  }));
  if (nearest == nullptr) return 0;
  // Of equally near units the tree gives the first it meets, an order that
  // follows addresses; the lowest id wins here instead, so that the run
  // doesn't depend on where the units lie in memory.
  const float best = distance(x, y, nearest->x, nearest->y);
  void* candidates[kMaxListed];
  const int count = timed(world.stats.treeQueries, [&] {
    return QuadTree_getObjectListFromCircle(world.tree, candidates, kMaxListed, x, y, best + kBoxSize, nullptr, 0,
                                            exclude, excludeCount);
  });
  for (int i = 0; i < count; ++i) {
    const DemoUnit* other = static_cast<const DemoUnit*>(candidates[i]);
    if (distance(x, y, other->x, other->y) == best && other->id < nearest->id) nearest = other;
  }
  lastChased = const_cast<DemoUnit*>(nearest);
  if (best < kChaseNearest) return 0;  // already there: let the script choose elsewhere
  targetX = nearest->x;
  targetY = nearest->y;
  return nearest->id + 1;
}

int DemoUnit::getObjectPropertyCount() const {
  return static_cast<int>(std::size(kProperties));
}

int DemoUnit::getObjectMethodCount() const {
  return static_cast<int>(std::size(kMethods));
}

void DemoUnit::getObjectPropertyDefinition(int index, short& id, VM_ObjectDataType& type, char* name, int size) {
  describe(kProperties[index], id, type, name, size);
}

void DemoUnit::getObjectMethodDefinition(int index, short& id, VM_ObjectDataType& type, char* name, int size) {
  describe(kMethods[index], id, type, name, size);
}

int DemoUnit::getObjectPropertyInt(int member, int& value, bool, void*) const {
  switch (member) {
    case kUnitState:
      value = state;
      return 0;
    case kUnitClock:
      value = world.frame;
      return 0;
    case kUnitId:
      value = id;
      return 0;
    default:
      return VM_ERROR_ID;
  }
}

int DemoUnit::getObjectPropertyFloat(int member, float& value, bool, void*) const {
  switch (member) {
    case kUnitX:
      value = x;
      return 0;
    case kUnitY:
      value = y;
      return 0;
    case kUnitTargetX:
      value = targetX;
      return 0;
    case kUnitTargetY:
      value = targetY;
      return 0;
    case kUnitNearestDistance:
      value = nearestDistance;
      return 0;
    default:
      return VM_ERROR_ID;
  }
}

int DemoUnit::setObjectPropertyInt(int member, int value, bool, void*) {
  if (member == kUnitState) {
    state = value;
    return 0;
  }
  return member == kUnitClock || member == kUnitId ? kDemoErrorReadOnly : VM_ERROR_ID;
}

int DemoUnit::setObjectPropertyFloat(int member, float value, bool, void*) {
  switch (member) {
    case kUnitTargetX:
      targetX = value;
      return 0;
    case kUnitTargetY:
      targetY = value;
      return 0;
    case kUnitX:
    case kUnitY:
    case kUnitNearestDistance:
      return kDemoErrorReadOnly;
    default:
      return VM_ERROR_ID;
  }
}

int DemoUnit::callObjectMethodVoid(int member, bool, void*) {
  if (member != kUnitPickTarget) return VM_ERROR_ID;
  float tx = 0.0f, ty = 0.0f;
  if (world.randomFreePoint(random, tx, ty)) {
    targetX = tx;
    targetY = ty;
  }
  return 0;
}

int DemoUnit::callObjectMethodInt(int member, int& result, bool firstAttempt, void* machine) {
  switch (member) {
    case kUnitFindPath:
      walking = false;
      result = world.findPath(x, y, targetX, targetY, path);
      nextPoint = 0;  // the start may have been moved out of an obstacle
      return 0;
    case kUnitWalk:
      // The host moves the unit frame by frame; the script's instruction
      // stays pending meanwhile, without holding up the game loop.
      if (firstAttempt) {
        if (path.size() < 4 || nextPoint >= path.size() / 2) {
          result = 0;
          return 0;
        }
        walking = true;
        return VM_WAIT;
      }
      if (walking) return VM_WAIT;
      result = reachedTarget ? 1 : 0;
      return 0;
    case kUnitLook:
      result = look();
      return 0;
    case kUnitChase:
      result = chase(VM_getFloatRegister(machine, 1));
      return 0;
    case kUnitDrop:
      result = world.drop(x, y, headingX, headingY, VM_getIntRegister(machine, 1) != 0) ? 1 : 0;
      return 0;
    default:
      return VM_ERROR_ID;
  }
}
