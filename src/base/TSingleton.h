#pragma once
// Registers the one object of class T: construction stores the pointer,
// destruction clears it. It creates nothing; the derived class decides when.

template <class T>
class TSingleton {
 public:
  TSingleton() { instance = this; }
  virtual ~TSingleton() { instance = nullptr; }
  TSingleton(const TSingleton&) = delete;
  TSingleton& operator=(const TSingleton&) = delete;

  // The object, or null when none lives.
  static T* Instance() { return static_cast<T*>(instance); }

 private:
  inline static TSingleton* instance = nullptr;  // the derived part isn't made yet
};
