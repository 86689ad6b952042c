#include "platform/Privileges.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

namespace slicewise {
namespace {

using testing::ElementsAre;

/// Ids that are only remembered, each change of them written down and, where it is to fail, not made.
class ScriptedIds final : public UserIdCalls {
public:
    explicit ScriptedIds(UserIdSet ids) : m_ids(ids) {}

    [[nodiscard]] UserIdSet ids() const override { return m_ids; }
    [[nodiscard]] int setEffective(::uid_t user) const override
    {
        return change("all " + std::to_string(user), [&] { m_ids.effective = user; });
    }
    [[nodiscard]] int setEffectiveOfThread(::uid_t user) const override
    {
        return change("thread " + std::to_string(user), [&] { m_ids.effective = user; });
    }
    [[nodiscard]] int setAll(::uid_t user) const override
    {
        return change("for good " + std::to_string(user),
                      [&] { m_ids = {.real = user, .effective = user, .saved = user}; });
    }

    mutable std::vector<std::string> changes;
    std::string failing;   ///< the change that fails
    std::string pretending; ///< the change that says it was made, and was not

private:
    template <typename Change> int change(const std::string &what, const Change &make) const
    {
        changes.push_back(what);
        if (what == failing) {
            errno = EPERM;
            return -1;
        }
        if (what != pretending) {
            make();
        }
        return 0;
    }

    mutable UserIdSet m_ids;
};

constexpr UserIdSet kOrdinary = {.real = 501, .effective = 501, .saved = 501};
constexpr UserIdSet kDropped = {.real = 501, .effective = 501, .saved = 0};
constexpr UserIdSet kRoot = {.real = 0, .effective = 0, .saved = 0};

TEST(Privileges, theFirstActIsToMakeTheRealUserTheEffectiveOne)
{
    const ScriptedIds ids(kOrdinary);
    const Privileges privileges = Privileges::dropAtEntry(&ids);
    EXPECT_THAT(ids.changes, ElementsAre("all 501"));
    EXPECT_FALSE(privileges.isSetUserId());
    EXPECT_FALSE(privileges.isRealRoot());
}

TEST(Privileges, rootIsRootWithoutTheBit)
{
    const ScriptedIds ids(kRoot);
    const Privileges privileges = Privileges::dropAtEntry(&ids);
    EXPECT_TRUE(privileges.isRealRoot());
    EXPECT_FALSE(privileges.isSetUserId());
}

TEST(Privileges, rootsRightsAreTakenForAScopeAndGivenBackAfterIt)
{
    const ScriptedIds ids(kDropped);
    const Privileges privileges = Privileges::afterEntry(&ids);
    EXPECT_TRUE(privileges.isSetUserId());
    EXPECT_TRUE(ids.changes.empty());
    {
        const Privileges::AsRoot asRoot(privileges);
        EXPECT_EQ(ids.ids().effective, 0U);
    }
    EXPECT_EQ(ids.ids(), kDropped);
    EXPECT_THAT(ids.changes, ElementsAre("thread 0", "thread 501"));
}

TEST(Privileges, whereTheRightsCanNotBeTakenNothingHappens)
{
    ScriptedIds ids(kOrdinary);
    ids.failing = "thread 0";
    const Privileges privileges = Privileges::afterEntry(&ids);
    {
        const Privileges::AsRoot asRoot(privileges);
        EXPECT_EQ(ids.ids(), kOrdinary);
    }
    EXPECT_EQ(ids.ids(), kOrdinary);
}

TEST(PrivilegesDeathTest, rightsThatCanNotBeGivenBackEndTheProcess)
{
    for (const bool pretends : {false, true}) {
        ScriptedIds ids(kDropped);
        (pretends ? ids.pretending : ids.failing) = "thread 501";
        const Privileges privileges = Privileges::afterEntry(&ids);
        EXPECT_DEATH({ const Privileges::AsRoot asRoot(privileges); }, "could not be given back");
    }
}

TEST(PrivilegesDeathTest, aDropAtEntryThatDoesNotHappenEndsTheProcess)
{
    for (const bool pretends : {false, true}) {
        ScriptedIds ids({.real = 501, .effective = 0, .saved = 0});
        (pretends ? ids.pretending : ids.failing) = "all 501";
        EXPECT_DEATH(static_cast<void>(Privileges::dropAtEntry(&ids)), "could not be given back");
    }
}

TEST(Privileges, givenUpForGoodAllThreeIdsAreTheUsers)
{
    const ScriptedIds ids(kDropped);
    Privileges privileges = Privileges::afterEntry(&ids);
    privileges.giveUpForGood();
    EXPECT_EQ(ids.ids(), kOrdinary);
    EXPECT_THAT(ids.changes, ElementsAre("for good 501"));
    EXPECT_FALSE(privileges.isSetUserId());
}

TEST(PrivilegesDeathTest, rightsThatCanNotBeGivenUpEndTheProcess)
{
    for (const bool pretends : {false, true}) {
        ScriptedIds ids(kDropped);
        (pretends ? ids.pretending : ids.failing) = "for good 501";
        Privileges privileges = Privileges::afterEntry(&ids);
        EXPECT_DEATH(privileges.giveUpForGood(), "could not be given up");
    }
}

} // namespace
} // namespace slicewise
