// SPDX-License-Identifier: MIT
#include "vrp/core/resource_id.h"

#include "vrp/core/resource_table.h"
#include "vrp/platform/text.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace {

TEST(ResourceIdentifier, has_three_fields_of_which_the_last_may_hold_semicolons)
{
    const auto fields = splitResourceId(L"Printer;Driver;A.ppd; B.ppd;");
    ASSERT_TRUE(fields);
    EXPECT_EQ(fields->section, L"Printer");
    EXPECT_EQ(fields->key, L"Driver");
    EXPECT_EQ(fields->defaultText, L"A.ppd; B.ppd;");
    EXPECT_EQ(defaultTextOf(L"Printer;Driver;A.ppd; B.ppd;"), L"A.ppd; B.ppd;");
}

TEST(ResourceIdentifier, is_none_without_two_semicolons)
{
    for (const wchar_t *text : {L"", L"Errors", L"Errors;NoFileName"}) {
        EXPECT_FALSE(splitResourceId(text)) << wtoUTF8(text);
        EXPECT_EQ(defaultTextOf(text), L"") << wtoUTF8(text);
    }
}

TEST(ResourceTable, every_identifier_has_a_section_and_a_key_of_its_own)
{
    std::set<std::wstring> seen;
    for (const wchar_t *id : resource::installed) {
        const auto resourceId = splitResourceId(id);
        ASSERT_TRUE(resourceId);
        EXPECT_FALSE(resourceId->section.empty());
        EXPECT_FALSE(resourceId->key.empty());
        EXPECT_TRUE(seen.insert(resourceId->section + L';' + resourceId->key).second) << wtoUTF8(id);
    }
}

} // namespace
