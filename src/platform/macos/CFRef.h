#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <utility>

// Owns one CoreFoundation reference and releases it when it goes. How the reference
// arrived is said where it is wrapped: adopt() takes over one the caller already owns
// (a function with Create or Copy in its name returned it), retain() takes a share of
// one it was merely handed (a Get function, a constant such as kCFBooleanTrue).
template <typename T> class CFRef
{
public:
    CFRef() = default;
    ~CFRef() { reset(); }

    CFRef(CFRef&& other) noexcept
        : m_ref(std::exchange(other.m_ref, nullptr))
    { }
    CFRef& operator=(CFRef&& other) noexcept
    {
        if (this != &other) {
            reset();
            m_ref = std::exchange(other.m_ref, nullptr);
        }
        return *this;
    }
    CFRef(const CFRef&) = delete;
    CFRef& operator=(const CFRef&) = delete;

    [[nodiscard]] static CFRef adopt(T ref) { return CFRef(ref); }
    [[nodiscard]] static CFRef retain(T ref)
    {
        if (ref)
            CFRetain(ref);
        return CFRef(ref);
    }

    T get() const { return m_ref; }
    explicit operator bool() const { return m_ref != nullptr; }

    // The slot a Copy function with an out parameter fills; whatever was held is
    // released first.
    T* out()
    {
        reset();
        return &m_ref;
    }

    // Hands the reference to the caller, who must release it (or adopt it again,
    // typically as a more general type).
    [[nodiscard]] T take() { return std::exchange(m_ref, nullptr); }

    void reset()
    {
        if (m_ref)
            CFRelease(std::exchange(m_ref, nullptr));
    }

private:
    explicit CFRef(T ref)
        : m_ref(ref)
    { }

    T m_ref = nullptr;
};
