#pragma once
// Memory that runs out: while an object lives, `new` on this thread succeeds
// `successes` times and then throws std::bad_alloc (or, as nothrow, gives null)
// every time. Meant for a few lines of code under test; a failed EXPECT inside
// would itself need memory.

namespace support {

class FailingNew {
 public:
  explicit FailingNew(int successes);
  ~FailingNew();
  FailingNew(const FailingNew&) = delete;
  FailingNew& operator=(const FailingNew&) = delete;
};

// The same for all other threads together.
class FailingNewElsewhere {
 public:
  explicit FailingNewElsewhere(int successes);
  ~FailingNewElsewhere();
  FailingNewElsewhere(const FailingNewElsewhere&) = delete;
  FailingNewElsewhere& operator=(const FailingNewElsewhere&) = delete;
};

}  // namespace support
