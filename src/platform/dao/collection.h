// A collection of the object model (TableDefs, Fields, Indexes, Relations, QueryDefs,
// Properties): walked in the engine's order, looked up by name without regard to case, or by
// position from 0. A missing name or position raises 3265 "Élément non trouvé dans cette
// collection." (a missing property name 3270 "Propriété non trouvée."). Append and Delete change the database at once when the owner is saved in it;
// on an object not yet appended they only change that object. A collection that cannot
// change raises 3251 on Append or Delete.
//
// The items are read when the collection is taken; Refresh() reads them again.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace platform::dao {

namespace detail {
// Where a collection's items come from and where its changes go.
template <class T>
class CollectionSource {
 public:
  virtual ~CollectionSource() = default;
  virtual std::vector<T> items() = 0;
  virtual void append(const T& item) = 0;
  virtual void remove(std::string_view name) = 0;
  // The error a missing name raises: 3265, or 3270 for a property.
  virtual int notFoundError() const { return 3265; }
};
// Raises 3265 (or `number`).
[[noreturn]] void raiseItemNotFound(int number = 3265);
bool sameName(std::string_view a, std::string_view b);
}  // namespace detail

template <class T>
class Collection {
 public:
  explicit Collection(std::shared_ptr<detail::CollectionSource<T>> source)
      : source_(std::move(source)), items_(source_->items()) {}

  int Count() const { return static_cast<int>(items_.size()); }
  T operator()(std::string_view name) const { return Item(name); }
  T operator()(int index) const { return Item(index); }
  T Item(std::string_view name) const {
    for (const T& item : items_)
      if (detail::sameName(item.Name(), name)) return item;
    detail::raiseItemNotFound(source_->notFoundError());
  }
  T Item(int index) const {
    if (index < 0 || index >= Count()) detail::raiseItemNotFound();
    return items_[static_cast<std::size_t>(index)];
  }
  bool Contains(std::string_view name) const {
    for (const T& item : items_)
      if (detail::sameName(item.Name(), name)) return true;
    return false;
  }

  void Append(const T& item) {
    source_->append(item);
    Refresh();
  }
  void Delete(std::string_view name) {
    source_->remove(name);
    Refresh();
  }
  void Refresh() { items_ = source_->items(); }

  typename std::vector<T>::const_iterator begin() const { return items_.begin(); }
  typename std::vector<T>::const_iterator end() const { return items_.end(); }

 private:
  std::shared_ptr<detail::CollectionSource<T>> source_;
  std::vector<T> items_;
};

}  // namespace platform::dao
