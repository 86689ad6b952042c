// Objects of the system's own language, from plain C++: the services that only a device has are spoken to in
// Objective-C, and this sends them messages without a compiler or headers for it.
//
// The runtime's C functions are looked up by name in what the process has loaded already; nothing is opened
// by path. Messages go through the runtime's own dispatch, never to a method's address that was asked for
// before: only the dispatch lets a class prepare itself before its first message. There are two kinds of it,
// a function that sends and one that finds what to call, and either will do.
//
// Any thread. Objects belong to the runtime: those that messages give back here live as long as the pool of
// guarded() that they were made in.
#pragma once

#include <functional>
#include <initializer_list>
#include <optional>
#include <string>

namespace slicewise {

struct ObjcObject; // only ever behind a pointer
struct ObjcSelector;
struct ObjcMethodRecord;
using ObjcId = ObjcObject *; ///< an object or a class; null is "nil"

/// A truth value in messages: a byte on all systems, signed on some, in which anything but 0 means true.
using ObjcBool = unsigned char;

/// What a name stands for in the process's default symbol scope, or null.
[[nodiscard]] void *symbolInProcess(const char *name);

/// A method without arguments that answers an object, in plain C++.
using ObjcMethod = ObjcId (*)(ObjcId receiver, ObjcSelector *selector);

class ObjectiveC {
public:
    /// The runtime of this process, looked up anew at each call; absent where it has none.
    [[nodiscard]] static std::optional<ObjectiveC> find();

    /// What stands in the way of sending messages to these classes, as a clause ("there is no class NSURL");
    /// absent where they are all there.
    [[nodiscard]] static std::optional<std::string> obstacle(std::initializer_list<const char *> classes);

    /// Null where there is none.
    [[nodiscard]] ObjcId classNamed(const char *name) const;

    /// Sends a message. The types must be those of the method, with ObjcBool for a BOOL.
    template <typename Result = ObjcId, typename... Arguments>
    Result send(ObjcId receiver, const char *selectorName, Arguments... arguments) const
    {
        using Method = Result (*)(ObjcId, ObjcSelector *, Arguments...);
        ObjcSelector *selector = m_registerName(selectorName);
        const auto method = reinterpret_cast<Method>(dispatchOf(receiver, selector));
        return method(receiver, selector, arguments...);
    }

    /// An NSString. Null for bytes that are no UTF-8, and where a null byte would cut it short.
    [[nodiscard]] ObjcId text(const std::string &utf8) const;
    /// What an object says of itself; "(null)" for nil and where it has nothing to say.
    [[nodiscard]] std::string description(ObjcId object) const;

    /// Whether objects of the class have the method, of their own or from a class above. False without the
    /// class.
    [[nodiscard]] bool hasInstanceMethod(const char *className, const char *selectorName) const;
    /// Makes a class with one method; it is there until the process ends. False where there is one of that
    /// name already, and where the runtime makes none.
    [[nodiscard]] bool addClass(const char *name, const char *selectorName, ObjcMethod method) const;
    /// From now on each class answers the message with what the other one did; twice is as before. False,
    /// with nothing changed, where one of them lacks the method, and where the runtime exchanges none.
    [[nodiscard]] bool exchangeInstanceMethods(const char *className, const char *otherClassName,
                                               const char *selectorName) const;

    /// Runs what sends messages, in an NSAutoreleasePool of its own. False where something was raised, which
    /// ended it there.
    [[nodiscard]] bool guarded(const std::function<void()> &body) const;

private:
    using AnyFunction = void (*)();

    ObjectiveC() = default;
    [[nodiscard]] ObjcMethodRecord *instanceMethod(const char *className, const char *selectorName) const;
    [[nodiscard]] AnyFunction dispatchOf(ObjcId receiver, ObjcSelector *selector) const;

    ObjcId (*m_getClass)(const char *) = nullptr;
    ObjcSelector *(*m_registerName)(const char *) = nullptr;
    AnyFunction m_messageSend = nullptr;                              ///< sends, or null
    AnyFunction (*m_messageLookup)(ObjcId, ObjcSelector *) = nullptr; ///< finds what to call
};

} // namespace slicewise
