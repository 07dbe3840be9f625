// SPDX-License-Identifier: MIT
#include "vrp/encrypt.h"
#include "vrp/platform/system.h"
#include "vrp/platform/text.h"

#include <gtest/gtest.h>

#include <array>

namespace {

std::wstring userName;

/// A platform that knows login names.
class PasswordKey : public testing::Test
{
protected:
    ~PasswordKey() override { userName.clear(); }

    static std::wstring storedFor(const wchar_t *user, const wchar_t *password = L"secret")
    {
        userName = user;
        return VrpsEncryptPassword(password);
    }
};

} // namespace

/// In the place of the platform's.
std::wstring VrpsGetUserName()
{
    return userName;
}

TEST_F(PasswordKey, holds_the_login_name_between_its_fixed_pieces)
{
    std::array<char, 64> text{"secret"};
    EncryptString("q7Vd#~annXm4%h", text.data(), text.size());
    EXPECT_EQ(storedFor(L"ann"), UTF8tow(text.data()));
}

TEST_F(PasswordKey, makes_the_stored_form_depend_on_the_user)
{
    const std::wstring form = storedFor(L"ann");
    EXPECT_NE(storedFor(L"bob"), form);
    EXPECT_NE(VrpsDecryptPassword(form), L"secret");
    userName = L"ann";
    EXPECT_EQ(VrpsDecryptPassword(form), L"secret");
}

TEST_F(PasswordKey, takes_letters_of_every_script)
{
    const std::wstring form = storedFor(L"J\u00fcrgen \u5370");
    EXPECT_EQ(VrpsDecryptPassword(form), L"secret");
    EXPECT_NE(storedFor(L"Jurgen"), form);
}
