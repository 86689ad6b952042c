// A borrowed pointer that becomes null when its object goes away.
//
// For one thread. The object's class derives from Guardable; while its destructors run, the pointer is still set until
// Guardable's own turn comes.
#pragma once

#include <memory>

namespace slicewise {

class Guardable {
public:
    /// A copy is another object, with pointers of its own to it.
    Guardable() : m_alive(std::make_shared<const bool>(true)) {}
    Guardable(const Guardable & /*other*/) : Guardable() {}
    // Takes nothing of the other: NOLINTNEXTLINE(bugprone-unhandled-self-assignment)
    Guardable &operator=(const Guardable & /*other*/) { return *this; }

    [[nodiscard]] std::weak_ptr<const bool> guard() const { return m_alive; }

protected:
    ~Guardable() = default;

private:
    std::shared_ptr<const bool> m_alive;
};

template <typename Object> class Guarded {
public:
    Guarded() = default;
    explicit Guarded(Object *object) : m_object(object)
    {
        if (object != nullptr) {
            m_guard = object->guard();
        }
    }

    [[nodiscard]] Object *get() const { return m_guard.expired() ? nullptr : m_object; }

private:
    Object *m_object = nullptr;
    std::weak_ptr<const bool> m_guard;
};

} // namespace slicewise
