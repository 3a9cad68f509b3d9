#pragma once
/// \file
/// Scoped ownership of a platform handle: the owner closes what it holds when
/// it goes, and each kind of handle has its own sentinel for "nothing held".

#include <utility>

namespace Orvik {
namespace Platform {

/// Traits give Handle, Empty() (the sentinel), IsOpen(handle) and
/// Close(handle).
template <class Traits>
class UniqueHandle {
public:
    using Handle = typename Traits::Handle;  ///< What is held.

    /// Holds nothing.
    UniqueHandle() = default;
    /// Takes over handle.
    explicit UniqueHandle(Handle handle) : handle_(handle) {}
    /// Closes what is held.
    ~UniqueHandle() { reset(); }
    /// Takes over what other held; other holds nothing afterwards.
    UniqueHandle(UniqueHandle&& other) noexcept : handle_(other.release()) {}
    /// Closes what is held and takes over what other held.
    UniqueHandle& operator=(UniqueHandle&& other) noexcept
    {
        if (this != &other) reset(other.release());
        return *this;
    }
    UniqueHandle(const UniqueHandle&) = delete;
    UniqueHandle& operator=(const UniqueHandle&) = delete;

    /// The handle, still held.
    Handle get() const { return handle_; }
    /// Something open is held.
    explicit operator bool() const { return Traits::IsOpen(handle_); }

    /// Gives the handle up without closing it.
    Handle release() { return std::exchange(handle_, Traits::Empty()); }
    /// Closes what is held and takes handle instead.
    void reset(Handle handle = Traits::Empty())
    {
        const Handle old = std::exchange(handle_, handle);
        if (Traits::IsOpen(old)) Traits::Close(old);
    }

private:
    Handle handle_ = Traits::Empty();
};

}  // namespace Platform
}  // namespace Orvik
