#pragma once
// The list that the system's collections are made of: doubly linked, with the
// walk's cursor inside the list.
//
// A list owns its nodes, not what pointer elements point at: the owner of a
// list of pointers walks it and deletes the objects before it clears the list.
// The cursor is part of the list, so only one walk of a list can be under way,
// on one thread; a nested walk moves the outer one's cursor.
//
// The customary walk, which ForEach below is:
//
//   if (list.First()) do Use(list.Current()); while (list.Next());

#include <cstdint>

template <class T>
struct LinkedListNode {
  explicit LinkedListNode(const T& value) : data(value) {}
  ~LinkedListNode() { prev = next = nullptr; }
  LinkedListNode(const LinkedListNode&) = delete;
  LinkedListNode& operator=(const LinkedListNode&) = delete;

  LinkedListNode* prev = nullptr;  // null at the head
  LinkedListNode* next = nullptr;  // null at the tail
  T data;
};

template <class T>
class LinkedList_Basic {
 public:
  using Node = LinkedListNode<T>;

  LinkedList_Basic() = default;
  virtual ~LinkedList_Basic() { Clear(); }
  LinkedList_Basic(const LinkedList_Basic&) = delete;
  LinkedList_Basic& operator=(const LinkedList_Basic&) = delete;

  // Starts a walk. False for an empty list.
  bool First() {
    cursor = head;
    more = true;
    return head != nullptr;
  }

  // Moves on. At the end: false, `more` is cleared, and the cursor stays on
  // the last node. With no cursor: false, and nothing changes.
  bool Next() {
    if (!cursor) return false;
    if (!cursor->next) {
      more = false;
      return false;
    }
    cursor = cursor->next;
    return true;
  }

  std::int32_t Count() const { return count; }

  // The element under the cursor; the cursor must not be null.
  T& Current() { return cursor->data; }

  // The cursor moves only when the list was empty: it then stands on the new
  // node.
  void AddTail(const T& value) {
    Node* node = new Node(value);
    if (!head) return AddFirstNode(node);
    node->prev = tail;
    tail->next = node;
    tail = node;
    ++count;
  }
  void AddHead(const T& value) {
    Node* node = new Node(value);
    if (!head) return AddFirstNode(node);
    node->next = head;
    head->prev = node;
    head = node;
    ++count;
  }

  // Unlinks and destroys `node`, which must be of this list. The cursor isn't
  // touched: the caller repositions it if it stood on `node`.
  void Remove(Node* node) {
    if (node == head) head = node->next;
    if (node == tail) tail = node->prev;
    if (node->prev) node->prev->next = node->next;
    if (node->next) node->next->prev = node->prev;
    --count;
    delete node;
  }

  // Destroys all nodes. `more` stays as it was.
  void Clear() {
    if (!head || count == 0) return;
    cursor = head;
    while (cursor) {
      Node* following = cursor->next;
      delete cursor;
      cursor = following;
    }
    head = tail = nullptr;
    count = 0;
  }

  std::int32_t count = 0;
  bool more = true;       // the walk hasn't yet fallen off the end
  bool reserved = false;  // keeps its place in the layout; nothing reads it
  Node* cursor = nullptr;
  Node* head = nullptr;
  Node* tail = nullptr;

 private:
  void AddFirstNode(Node* node) {
    head = tail = cursor = node;
    ++count;
  }
};

template <class T>
class LinkedList : public LinkedList_Basic<T> {
 public:
  ~LinkedList() override { RemovePending(); }

  // Nodes of this list that are to be unlinked when the list goes.
  LinkedList_Basic<LinkedListNode<T>*> pendingRemoval;

 private:
  void RemovePending() {
    if (pendingRemoval.First()) {
      do this->Remove(pendingRemoval.Current());
      while (pendingRemoval.Next());
    }
    pendingRemoval.Clear();
  }
};

// Calls `use` with each element in order, the cursor on it. `use` may delete what the
// element points at.
template <class T, class Use>
void ForEach(LinkedList_Basic<T>& list, Use use) {
  if (list.First()) {
    do use(list.Current());
    while (list.Next());
  }
}

// The first of a list's objects that `matches`, with the cursor left on it; null, with
// the cursor on the last node, if there is none.
template <class T, class Matches>
T* FindIn(LinkedList_Basic<T*>& list, Matches matches) {
  if (list.First()) {
    do {
      if (matches(*list.Current())) return list.Current();
    } while (list.Next());
  }
  return nullptr;
}

// Deletes what a list of pointers owns, and clears it.
template <class T>
void DeleteAll(LinkedList_Basic<T*>& list) {
  ForEach(list, [](T* element) { delete element; });
  list.Clear();
}
