#include "platform/ObjectiveC.h"

#include <dlfcn.h>

#include <cstddef>

namespace slicewise {

namespace {

template <typename Function> void lookUp(const char *name, Function &function)
{
    function = reinterpret_cast<Function>(symbolInProcess(name));
}

class AutoreleasePool {
public:
    explicit AutoreleasePool(const ObjectiveC &runtime) : m_runtime(runtime)
    {
        const ObjcId pool = runtime.send(runtime.classNamed("NSAutoreleasePool"), "alloc");
        m_pool = runtime.send(pool, "init");
    }
    ~AutoreleasePool() { m_runtime.send<void>(m_pool, "drain"); }
    AutoreleasePool(const AutoreleasePool &) = delete;
    AutoreleasePool &operator=(const AutoreleasePool &) = delete;

private:
    const ObjectiveC &m_runtime;
    ObjcId m_pool = nullptr;
};

} // namespace

void *symbolInProcess(const char *name)
{
    return ::dlsym(RTLD_DEFAULT, name);
}

std::optional<ObjectiveC> ObjectiveC::find()
{
    ObjectiveC runtime;
    lookUp("objc_getClass", runtime.m_getClass);
    lookUp("sel_registerName", runtime.m_registerName);
    lookUp("objc_msgSend", runtime.m_messageSend);
    lookUp("objc_msg_lookup", runtime.m_messageLookup);
    const bool canSend = runtime.m_messageSend != nullptr || runtime.m_messageLookup != nullptr;
    if (runtime.m_getClass == nullptr || runtime.m_registerName == nullptr || !canSend) {
        return std::nullopt;
    }
    return runtime;
}

std::optional<std::string> ObjectiveC::obstacle(std::initializer_list<const char *> classes)
{
    const std::optional<ObjectiveC> runtime = find();
    if (!runtime) {
        return "there is no Objective-C runtime";
    }
    for (const char *name : classes) {
        if (runtime->classNamed(name) == nullptr) {
            return std::string("there is no class ") + name;
        }
    }
    return std::nullopt;
}

ObjcId ObjectiveC::classNamed(const char *name) const
{
    return m_getClass(name);
}

ObjectiveC::AnyFunction ObjectiveC::dispatchOf(ObjcId receiver, ObjcSelector *selector) const
{
    return m_messageSend != nullptr ? m_messageSend : m_messageLookup(receiver, selector);
}

bool ObjectiveC::hasInstanceMethod(const char *className, const char *selectorName) const
{
    return instanceMethod(className, selectorName) != nullptr;
}

bool ObjectiveC::addClass(const char *name, const char *selectorName, ObjcMethod method) const
{
    ObjcId (*allocateClass)(ObjcId, const char *, std::size_t) = nullptr;
    ObjcBool (*addMethod)(ObjcId, ObjcSelector *, ObjcMethod, const char *) = nullptr;
    void (*registerClass)(ObjcId) = nullptr;
    lookUp("objc_allocateClassPair", allocateClass);
    lookUp("class_addMethod", addMethod);
    lookUp("objc_registerClassPair", registerClass);
    if (allocateClass == nullptr || addMethod == nullptr || registerClass == nullptr) {
        return false;
    }
    const ObjcId made = allocateClass(classNamed("NSObject"), name, 0);
    // An object, answered to the object itself and the selector.
    if (made == nullptr || addMethod(made, m_registerName(selectorName), method, "@@:") == 0) {
        return false;
    }
    registerClass(made);
    return true;
}

bool ObjectiveC::exchangeInstanceMethods(const char *className, const char *otherClassName,
                                         const char *selectorName) const
{
    void (*exchange)(ObjcMethodRecord *, ObjcMethodRecord *) = nullptr;
    lookUp("method_exchangeImplementations", exchange);
    ObjcMethodRecord *one = instanceMethod(className, selectorName);
    ObjcMethodRecord *other = instanceMethod(otherClassName, selectorName);
    if (exchange == nullptr || one == nullptr || other == nullptr) {
        return false;
    }
    exchange(one, other);
    return true;
}

ObjcMethodRecord *ObjectiveC::instanceMethod(const char *className, const char *selectorName) const
{
    ObjcMethodRecord *(*getMethod)(ObjcId, ObjcSelector *) = nullptr;
    lookUp("class_getInstanceMethod", getMethod);
    const ObjcId named = classNamed(className);
    return getMethod != nullptr && named != nullptr ? getMethod(named, m_registerName(selectorName))
                                                    : nullptr;
}

ObjcId ObjectiveC::text(const std::string &utf8) const
{
    if (utf8.find('\0') != std::string::npos) {
        return nullptr;
    }
    return send(classNamed("NSString"), "stringWithUTF8String:", utf8.c_str());
}

std::string ObjectiveC::description(ObjcId object) const
{
    // No runtime is relied on to answer nil for messages to nil.
    const ObjcId text = object != nullptr ? send(object, "description") : nullptr;
    const char *utf8 = text != nullptr ? send<const char *>(text, "UTF8String") : nullptr;
    return utf8 != nullptr ? utf8 : "(null)";
}

bool ObjectiveC::guarded(const std::function<void()> &body) const
{
    // Around the handler: what was raised may itself belong to the pool.
    const AutoreleasePool pool(*this);
    try {
        body();
    } catch (...) { // an Objective-C exception has no type here
        return false;
    }
    return true;
}

} // namespace slicewise
