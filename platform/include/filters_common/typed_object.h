// The two templates from which every concrete match and action class is made.
#pragma once

#include <memory>
#include <type_traits>
#include <utility>

namespace FiltersCommon::detail {

// A base holding one value of type T next to the object's type number.
template <class Root, class T>
class WithValue : public Root {
 public:
  explicit WithValue(typename Root::Type type, T value = T{})
      : Root(type), value_(std::move(value)) {}

 protected:
  const T& value() const { return value_; }

 private:
  T value_;
};

// A concrete class: fixes its type number, forwards its values to its base, and copies itself.
template <class Derived, class Base, auto TypeNumber>
class Concrete : public Base {
 public:
  Concrete() : Base(TypeNumber) {}
  template <class First, class... Rest,
            class = std::enable_if_t<!std::is_base_of<Concrete, std::decay_t<First>>::value>>
  explicit Concrete(First&& first, Rest&&... rest)
      : Base(TypeNumber, std::forward<First>(first), std::forward<Rest>(rest)...) {}

  std::shared_ptr<const typename Base::Root> clone() const override {
    return std::make_shared<Derived>(static_cast<const Derived&>(*this));
  }
};

}  // namespace FiltersCommon::detail
