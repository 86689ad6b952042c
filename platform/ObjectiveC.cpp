#include "platform/ObjectiveC.h"

#include <dlfcn.h>

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
