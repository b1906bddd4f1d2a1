#include "base/LinkedList.h"

#include "support/Layout.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <type_traits>
#include <vector>

namespace {

template <class List>
std::vector<int> Values(const List& list) {
  std::vector<int> values;
  for (auto* node = list.head; node; node = node->next) values.push_back(node->data);
  return values;
}

template <class List>
std::vector<int> ValuesBackwards(const List& list) {
  std::vector<int> values;
  for (auto* node = list.tail; node; node = node->prev) values.push_back(node->data);
  return values;
}

// Both directions and the count tell the same.
template <class List>
void ExpectHolds(const List& list, const std::vector<int>& values) {
  EXPECT_EQ(Values(list), values);
  EXPECT_EQ(ValuesBackwards(list), std::vector<int>(values.rbegin(), values.rend()));
  EXPECT_EQ(list.Count(), static_cast<int>(values.size()));
}

void Fill(LinkedList_Basic<int>& list, const std::vector<int>& values) {
  for (const int value : values) list.AddTail(value);
}

TEST(LinkedList, IsEmptyAtFirst) {
  const LinkedList_Basic<int> list;
  EXPECT_EQ(list.Count(), 0);
  EXPECT_TRUE(list.more);
  EXPECT_FALSE(list.reserved);
  EXPECT_EQ(list.cursor, nullptr);
  EXPECT_EQ(list.head, nullptr);
  EXPECT_EQ(list.tail, nullptr);
}

TEST(LinkedList, FirstOnAnEmptyListIsFalseAndLeavesMoreTrue) {
  LinkedList_Basic<int> list;
  list.more = false;
  EXPECT_FALSE(list.First());
  EXPECT_TRUE(list.more);
  EXPECT_EQ(list.cursor, nullptr);
}

TEST(LinkedList, NextWithoutACursorIsFalseAndChangesNothing) {
  LinkedList_Basic<int> list;
  Fill(list, {1, 2});
  list.cursor = nullptr;
  EXPECT_FALSE(list.Next());
  EXPECT_TRUE(list.more);
  EXPECT_EQ(list.cursor, nullptr);
  list.more = false;
  EXPECT_FALSE(list.Next());
  EXPECT_FALSE(list.more);
}

TEST(LinkedList, WalksInOrderAndFallsOffOnce) {
  LinkedList_Basic<int> list;
  Fill(list, {7, 8, 9});
  ASSERT_TRUE(list.First());
  EXPECT_EQ(list.Current(), 7);
  EXPECT_TRUE(list.Next());
  EXPECT_EQ(list.Current(), 8);
  EXPECT_TRUE(list.Next());
  EXPECT_EQ(list.Current(), 9);
  EXPECT_TRUE(list.more);
  EXPECT_FALSE(list.Next());
  EXPECT_FALSE(list.more);
}

TEST(LinkedList, CurrentStillYieldsTheLastElementAfterTheEnd) {
  LinkedList_Basic<int> list;
  Fill(list, {7, 8});
  list.First();
  while (list.Next()) {
  }
  EXPECT_EQ(list.Current(), 8);
  EXPECT_EQ(list.cursor, list.tail);
}

TEST(LinkedList, FirstStartsAFinishedWalkAnew) {
  LinkedList_Basic<int> list;
  Fill(list, {7, 8});
  list.First();
  while (list.Next()) {
  }
  EXPECT_TRUE(list.First());
  EXPECT_TRUE(list.more);
  EXPECT_EQ(list.Current(), 7);
}

TEST(LinkedList, CurrentMayBeChangedInPlace) {
  LinkedList_Basic<int> list;
  Fill(list, {1, 2});
  list.First();
  list.Current() = 5;
  ExpectHolds(list, {5, 2});
}

TEST(LinkedList, AddTailOnAnEmptyListPlacesTheCursorOnTheElement) {
  LinkedList_Basic<int> list;
  list.AddTail(3);
  EXPECT_EQ(list.Current(), 3);
  EXPECT_EQ(list.cursor, list.head);
  EXPECT_EQ(list.cursor, list.tail);
}

TEST(LinkedList, AddTailLeavesTheCursorWhereItStands) {
  LinkedList_Basic<int> list;
  Fill(list, {1, 2, 3});
  list.First();
  list.Next();
  list.AddTail(4);
  EXPECT_EQ(list.Current(), 2);
  ExpectHolds(list, {1, 2, 3, 4});
}

TEST(LinkedList, AddHeadFollowsTheSameRule) {
  LinkedList_Basic<int> list;
  list.AddHead(3);
  EXPECT_EQ(list.cursor, list.head);
  list.AddHead(2);
  list.AddHead(1);
  EXPECT_EQ(list.Current(), 3);
  ExpectHolds(list, {1, 2, 3});
}

TEST(LinkedList, RemoveRelinksTheNeighbours) {
  LinkedList_Basic<int> list;
  Fill(list, {1, 2, 3});
  list.Remove(list.head->next);
  ExpectHolds(list, {1, 3});
}

TEST(LinkedList, RemoveOfAnEndMovesTheEnd) {
  LinkedList_Basic<int> list;
  Fill(list, {1, 2, 3, 4});
  list.Remove(list.head);
  ExpectHolds(list, {2, 3, 4});
  list.Remove(list.tail);
  ExpectHolds(list, {2, 3});
}

TEST(LinkedList, RemoveOfTheOnlyNodeLeavesTheCursorStale) {
  LinkedList_Basic<int> list;
  list.AddTail(1);
  const auto stale = reinterpret_cast<std::uintptr_t>(list.cursor);
  list.Remove(list.head);
  EXPECT_EQ(list.head, nullptr);
  EXPECT_EQ(list.tail, nullptr);
  EXPECT_EQ(list.Count(), 0);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(list.cursor), stale);
}

TEST(LinkedList, RemoveElsewhereDoesNotTouchTheCursor) {
  LinkedList_Basic<int> list;
  Fill(list, {1, 2, 3});
  list.First();
  list.Next();
  list.Remove(list.head);
  list.Remove(list.tail);
  EXPECT_EQ(list.Current(), 2);
}

TEST(LinkedList, ClearEmptiesAndLeavesMoreAsItWas) {
  LinkedList_Basic<int> list;
  Fill(list, {1, 2, 3});
  list.First();
  while (list.Next()) {
  }
  list.Clear();
  ExpectHolds(list, {});
  EXPECT_EQ(list.cursor, nullptr);
  EXPECT_FALSE(list.more);
  list.Clear();
  ExpectHolds(list, {});
}

// The cursor of an empty list may be stale; Clear must not follow it.
TEST(LinkedList, ClearOfAnEmptyListDoesNothing) {
  LinkedList_Basic<int> list;
  list.AddTail(1);
  list.Remove(list.head);
  const auto stale = reinterpret_cast<std::uintptr_t>(list.cursor);
  list.Clear();
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(list.cursor), stale);
}

TEST(LinkedList, AClearedListFillsAgain) {
  LinkedList_Basic<int> list;
  Fill(list, {1, 2});
  list.Clear();
  list.AddTail(5);
  EXPECT_EQ(list.Current(), 5);
  ExpectHolds(list, {5});
}

TEST(LinkedList, OwnsItsNodesAndTheElementsInThem) {
  const auto element = std::make_shared<int>(1);
  {
    LinkedList<std::shared_ptr<int>> list;
    list.AddTail(element);
    list.AddHead(element);
    EXPECT_EQ(element.use_count(), 3);
    list.Remove(list.head);
    EXPECT_EQ(element.use_count(), 2);
  }
  EXPECT_EQ(element.use_count(), 1);
}

TEST(LinkedList, DoesNotOwnWhatPointerElementsPointAt) {
  int value = 5;
  {
    LinkedList<int*> list;
    list.AddTail(&value);
  }
  EXPECT_EQ(value, 5);
}

TEST(LinkedList, GoesThroughItsBaseClass) {
  const auto element = std::make_shared<int>(1);
  std::unique_ptr<LinkedList_Basic<std::shared_ptr<int>>> list(
      new LinkedList<std::shared_ptr<int>>);
  list->AddTail(element);
  list.reset();
  EXPECT_EQ(element.use_count(), 1);
}

// Tells when it is destroyed, so that an order can be seen.
struct Witness {
  Witness(int number, std::vector<int>* destroyed) : id(number), log(destroyed) {}
  Witness(const Witness& other) = default;
  ~Witness() { if (log) log->push_back(id); }
  int id;
  std::vector<int>* log;
};

TEST(LinkedList, PendingNodesAreUnlinkedBeforeTheRest) {
  std::vector<int> destroyed;
  {
    LinkedList<Witness> list;
    for (int id = 1; id <= 4; ++id) list.AddTail(Witness(id, &destroyed));
    list.pendingRemoval.AddTail(list.tail);
    list.pendingRemoval.AddTail(list.head->next);
    destroyed.clear();  // the temporaries of above
  }
  EXPECT_EQ(destroyed, (std::vector<int>{4, 2, 1, 3}));
}

TEST(LinkedList, ClearDestroysFromTheHeadOn) {
  std::vector<int> destroyed;
  LinkedList_Basic<Witness> list;
  for (int id = 1; id <= 3; ++id) list.AddTail(Witness(id, &destroyed));
  destroyed.clear();
  list.Clear();
  EXPECT_EQ(destroyed, (std::vector<int>{1, 2, 3}));
}

TEST(LinkedList, ANodeStartsUnlinked) {
  const LinkedListNode<int> node(4);
  EXPECT_EQ(node.prev, nullptr);
  EXPECT_EQ(node.next, nullptr);
  EXPECT_EQ(node.data, 4);
}

TEST(LinkedList, FieldsStandInTheirOrder) {
  const LinkedListNode<int> node(1);
  EXPECT_TRUE(support::StandInOrder(node.prev, node.next, node.data));
  const LinkedList<int> list;
  EXPECT_TRUE(support::StandInOrder(list.count, list.more, list.reserved, list.cursor, list.head,
                                    list.tail, list.pendingRemoval));
  static_assert(std::has_virtual_destructor_v<LinkedList_Basic<int>>);
  static_assert(std::is_base_of_v<LinkedList_Basic<int>, LinkedList<int>>);
  static_assert(std::is_same_v<decltype(list.count), std::int32_t>);
#ifdef _WIN32
  static_assert(sizeof(LinkedListNode<void*>) == 12);
  static_assert(sizeof(LinkedList_Basic<void*>) == 24);
  static_assert(sizeof(LinkedList<void*>) == 48);
#endif
}

// --- Walks ---

TEST(LinkedListWalks, ForEachTakesTheElementsInOrderWithTheCursorOnEach) {
  LinkedList<int> list;
  Fill(list, {1, 2, 3});
  std::vector<int> seen;
  ForEach(list, [&](int& value) {
    EXPECT_EQ(&value, &list.Current());
    seen.push_back(value);
    value *= 10;
  });
  EXPECT_EQ(seen, (std::vector<int>{1, 2, 3}));
  ExpectHolds(list, {10, 20, 30});
  EXPECT_FALSE(list.more);
}

TEST(LinkedListWalks, ForEachOfAnEmptyListDoesNothing) {
  LinkedList<int> list;
  ForEach(list, [](int) { FAIL(); });
}

TEST(LinkedListWalks, FindInStopsOnTheFirstMatch) {
  int values[] = {1, 2, 2, 3};
  LinkedList<int*> list;
  for (int& value : values) list.AddTail(&value);
  EXPECT_EQ(FindIn(list, [](int value) { return value == 2; }), &values[1]);
  EXPECT_EQ(list.cursor, list.head->next);
  EXPECT_TRUE(list.more);
}

TEST(LinkedListWalks, FindInWithoutAMatchIsNullWithTheCursorOnTheLast) {
  int values[] = {1, 2};
  LinkedList<int*> list;
  for (int& value : values) list.AddTail(&value);
  EXPECT_EQ(FindIn(list, [](int value) { return value == 3; }), nullptr);
  EXPECT_EQ(list.cursor, list.tail);
  list.Clear();
  EXPECT_EQ(FindIn(list, [](int) { return true; }), nullptr);
}

TEST(LinkedListWalks, DeleteAllDeletesTheObjectsInOrderAndClears) {
  struct Noted {
    ~Noted() { gone.push_back(number); }
    int number;
    std::vector<int>& gone;
  };
  std::vector<int> gone;
  LinkedList<Noted*> list;
  for (const int number : {1, 2, 3}) list.AddTail(new Noted{number, gone});
  DeleteAll(list);
  EXPECT_EQ(gone, (std::vector<int>{1, 2, 3}));
  EXPECT_EQ(list.Count(), 0);
  EXPECT_EQ(list.head, nullptr);
}

}  // namespace
