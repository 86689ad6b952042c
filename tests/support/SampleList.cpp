#include "tests/support/SampleList.h"

#include <plist/plist.h>

#include <stdexcept>

namespace slicewise {

namespace {

::plist_t nodeOf(const std::string &text)
{
    return ::plist_new_string(text.c_str());
}

::plist_t nodeOf(std::uint64_t number)
{
    return ::plist_new_uint(number);
}

::plist_t nodeOf(const std::vector<std::string> &texts)
{
    ::plist_t array = ::plist_new_array();
    for (const std::string &text : texts) {
        ::plist_array_append_item(array, nodeOf(text));
    }
    return array;
}

} // namespace

void SampleList::Freer::operator()(void *node) const
{
    ::plist_free(node);
}

SampleList::SampleList(std::initializer_list<std::pair<const char *, Value>> values)
    : m_root(::plist_new_dict())
{
    for (const auto &[key, value] : values) {
        set(key, value);
    }
}

void SampleList::set(const std::string &key, const Value &value)
{
    ::plist_dict_set_item(m_root.get(), key.c_str(),
                          std::visit([](const auto &held) { return nodeOf(held); }, value));
}

void SampleList::set(const std::string &key, SampleList dictionary)
{
    ::plist_dict_set_item(m_root.get(), key.c_str(), dictionary.m_root.release());
}

std::string SampleList::bytes(Form form) const
{
    char *written = nullptr;
    std::uint32_t length = 0;
    if (form == Form::Binary) {
        ::plist_to_bin(m_root.get(), &written, &length);
    } else {
        ::plist_to_xml(m_root.get(), &written, &length);
    }
    if (written == nullptr) {
        throw std::runtime_error("A property list could not be written");
    }
    // libplist frees both forms alike.
    const std::unique_ptr<char, void (*)(char *)> owned(written, ::plist_to_xml_free);
    return {written, length};
}

} // namespace slicewise
