// The names of message attachments as one would write it without a thought for speed.
#pragma once

#include <algorithm>
#include <map>
#include <string>

namespace slicewise {

class AttachmentModel {
public:
    /// Tries the name itself, then the same with " 2", " 3", ... against all that are in use.
    void assign(const std::string &path, const std::string &directory, const std::string &wanted)
    {
        std::string name = wanted;
        for (int number = 2; isInUse(name); ++number) {
            name = wanted + " " + std::to_string(number);
        }
        m_names[path] = name;
        m_names[directory] = name;
    }

    [[nodiscard]] const std::map<std::string, std::string> &names() const { return m_names; }

private:
    [[nodiscard]] bool isInUse(const std::string &name) const
    {
        return std::any_of(m_names.begin(), m_names.end(),
                           [&](const auto &one) { return one.second == name; });
    }

    std::map<std::string, std::string> m_names;
};

} // namespace slicewise
