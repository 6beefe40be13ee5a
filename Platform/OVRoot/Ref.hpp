#pragma once

#include "OVRoot/Exception.hpp"

#include <memory>
#include <type_traits>
#include <utility>

namespace OV {

/// How a Ref counts its holders: atomically, beside the object.
struct Counter {};

/// Shared ownership with an atomic counter; dereferencing an empty holder throws
/// NullReferenceException instead of being undefined.
template <class T, class Count = Counter>
class Ref {
public:
    Ref() noexcept = default;
    /// An empty holder.
    Ref(std::nullptr_t) noexcept {}
    /// Holds what others may hold too; null makes an empty holder.
    explicit Ref(std::shared_ptr<T> object) noexcept : object_(std::move(object)) {}
    /// Holds the same object by its base.
    template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    Ref(const Ref<U>& other) noexcept : object_(other.Shared())
    {}
    /// Takes the object over.
    template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    Ref(std::unique_ptr<U> object) : object_(std::move(object))
    {}

    /// Throw NullReferenceException when it is empty.
    /// @{
    [[nodiscard]] T& operator*() const { return Checked(); }
    [[nodiscard]] T* operator->() const { return &Checked(); }
    /// @}
    /// Whether it holds something.
    [[nodiscard]] explicit operator bool() const noexcept { return object_ != nullptr; }
    /// Null when it is empty; nothing is taken over.
    [[nodiscard]] T* Get() const noexcept { return object_.get(); }
    /// The same ownership in the standard's form.
    [[nodiscard]] const std::shared_ptr<T>& Shared() const noexcept { return object_; }
    /// Lets go of the object.
    void Reset() noexcept { object_.reset(); }

    /// Whether both hold the same object, or nothing.
    friend bool operator==(const Ref& left, const Ref& right) noexcept
    {
        return left.object_ == right.object_;
    }

private:
    T& Checked() const
    {
        if (!object_)
            throw NullReferenceException();
        return *object_;
    }

    std::shared_ptr<T> object_;
};

/// The same holder under the name used where a result is handed between threads.
template <class T>
using CountedPtr = Ref<T>;

/// A new object in shared ownership.
template <class T, class... Arguments>
[[nodiscard]] Ref<T> MakeRef(Arguments&&... arguments)
{
    return Ref<T>(std::make_shared<T>(std::forward<Arguments>(arguments)...));
}

}  // namespace OV
