#include "tests/deleting_screens/Journey.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <stdexcept>
#include <utility>

namespace slicewise {

namespace {

/// All sizes of a tree that are not 0, by the names that lead there.
void collectSizes(const SZANode &node, const std::string &path, std::map<std::string, std::uint64_t> &sizes)
{
    if (node.size() > 0) {
        sizes[path] = node.size();
    }
    for (const SZANode *const child : node.getNodes()) {
        collectSizes(*child, path + "/" + std::string(child->name()), sizes);
    }
}

std::map<std::string, std::uint64_t> sizesOf(const SZANode &root)
{
    std::map<std::string, std::uint64_t> sizes;
    collectSizes(root, "", sizes);
    return sizes;
}

/// The names that lead to a file; empty where the tree has none of that name.
Journey::Names wayTo(const SZANode &node, const std::string &filename)
{
    for (const SZANode *const child : node.getNodes()) {
        if (child->filename() == filename) {
            return {std::string(child->name())};
        }
        Journey::Names rest = wayTo(*child, filename);
        if (!rest.empty()) {
            rest.insert(rest.begin(), std::string(child->name()));
            return rest;
        }
    }
    return {};
}

} // namespace

Journey::Journey(std::string folderPath, Names unwatched)
    : folder(folderPath, system.log), m_path(std::move(folderPath)), m_unwatched(std::move(unwatched))
{
    system.deletion = &folder.service;
}

BrowserServices Journey::services()
{
    BrowserServices all = system.services(folder.device());
    all.timers = m_timers.get();
    return all;
}

void Journey::show()
{
    look();
    m_window.emplace(stack, ScreenWindow::Look{});
    m_fingers.emplace(*m_window);
    ASSERT_TRUE(m_window->comesToRest());
}

void Journey::scan()
{
    stack.pushViewController(SZAViewController::controller(services()));
    show();
    ASSERT_TRUE(comesTrue([this] { return top().doneScan(); }));
    ASSERT_TRUE(m_window->comesToRest());
}

void Journey::goTo(const Names &names)
{
    for (const std::string &name : names) {
        const int row = rowNamed(*top().tableView(), name);
        ASSERT_GE(row, 0) << name;
        m_window->scrollTo(row);
        ASSERT_TRUE(comesTrue([&] { return m_window->row(row) != nullptr; }));
        const int count = stack.count();
        m_window->tap(*m_window->row(row));
        ASSERT_TRUE(comesTrue([&] { return stack.count() == count + 1; })) << name;
        ASSERT_TRUE(m_window->comesToRest());
    }
}

std::string Journey::goToRowOf(const std::string &filename)
{
    Names way = wayTo(root(), filename);
    if (way.empty()) {
        throw std::logic_error("not scanned: " + filename);
    }
    std::string name = std::move(way.back());
    way.pop_back();
    goTo(way);
    return name;
}

void Journey::deleteRow(const std::string &name)
{
    const int row = rowNamed(*top().tableView(), name);
    ASSERT_GE(row, 0) << name;
    ASSERT_TRUE(m_fingers->edits());
    ASSERT_TRUE(m_fingers->deletes(row));
}

void Journey::look()
{
    m_before = namesOnDisk();
}

void Journey::expectGone(const std::set<std::string> &gone) const
{
    std::set<std::string> expected = m_before;
    for (const std::string &name : gone) {
        EXPECT_EQ(expected.erase(name), 1U) << name;
    }
    const std::set<std::string> now = namesOnDisk();
    EXPECT_EQ(now.size(), expected.size());
    // Not as a matcher: there may be ten thousand.
    EXPECT_TRUE(now == expected);
}

void Journey::expectTrue()
{
    const auto again = SZAViewController::controller(services());
    again->loadViewIfNeeded();
    ASSERT_TRUE(comesTrue([&] { return again->doneScan(); }));
    EXPECT_EQ(sizesOf(*again->root()), sizesOf(root()));
    EXPECT_EQ(m_window->warnings(), QStringList());
}

std::set<std::string> Journey::namesOnDisk() const
{
    std::set<std::string> names;
    for (const auto &entry : std::filesystem::recursive_directory_iterator(m_path)) {
        const std::string name = entry.path().string().substr(m_path.size());
        const auto isAhead = [&](const std::string &beginning) { return name.starts_with(beginning); };
        if (std::ranges::none_of(m_unwatched, isAhead)) {
            const bool isFile = entry.is_regular_file() && !entry.is_symlink();
            names.insert(isFile ? fmt::format("{} {}", name, entry.file_size()) : name);
        }
    }
    return names;
}

const SampleFile &SampleJourney::fileOf(std::string_view category) const
{
    const auto found = std::ranges::find_if(
        m_plan.files, [&](const SampleFile &file) { return file.category.starts_with(category); });
    if (found == m_plan.files.end()) {
        throw std::logic_error("no file of that category");
    }
    return *found;
}

std::string nameOnDisk(const SampleFile &file)
{
    return fmt::format("{} {}", file.path, file.sizeBytes);
}

} // namespace slicewise
