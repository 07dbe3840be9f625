// SPDX-License-Identifier: MIT
#include "tests/support/TemporaryFolder.h"
#include "vrc/Failure.h"
#include "vrc/TrustStore.h"

#include <gtest/gtest.h>

#include <fstream>

namespace {

class TrustStore : public testing::Test
{
protected:
    std::string write(const std::string &name, const std::string &text)
    {
        const std::filesystem::path path = m_folder.path() / name;
        std::filesystem::create_directories(path.parent_path());
        std::ofstream(path) << text;
        return path.string();
    }

    [[nodiscard]] std::string pathOf(const std::string &name) const
    {
        return (m_folder.path() / name).string();
    }

    [[nodiscard]] vrc::SystemAuthorities system() const { return {pathOf("certs"), pathOf("bundle.pem")}; }

    TemporaryFolder m_folder;
};

TEST_F(TrustStore, of_a_folder_by_hashes_is_the_folder_and_the_bundle_is_not_read)
{
    write("certs/c0ff1f52.0", "authority");
    write("bundle.pem", "bundle");
    const vrc::TrustStore without = vrc::trustStore(system(), pathOf("own.pem"));
    EXPECT_EQ(without.folder, pathOf("certs"));
    EXPECT_EQ(without.certificates, "");
    const vrc::TrustStore with = vrc::trustStore(system(), write("own.pem", "own"));
    EXPECT_EQ(with.folder, pathOf("certs"));
    EXPECT_EQ(with.certificates, "own");
}

TEST_F(TrustStore, of_a_system_without_hashes_is_the_bundle)
{
    write("bundle.pem", "bundle");
    for (const char *name : {"", "certs/authority.pem", "certs/c0ff1f52", "certs/c0ff1f5.0",
                             "certs/c0ff1f52.pem", "certs/C0FF1F52.0", "certs/c0ff1f52."}) {
        if (*name != '\0') {
            write(name, "authority");
        }
        const vrc::TrustStore without = vrc::trustStore(system(), pathOf("missing.pem"));
        EXPECT_EQ(without.folder + without.certificates, "") << name << ": the transport's own default";
        const vrc::TrustStore with = vrc::trustStore(system(), write("own.pem", "own"));
        EXPECT_EQ(with.folder, "") << name;
        EXPECT_EQ(with.certificates, "bundle\nown") << name;
    }
}

TEST_F(TrustStore, of_a_system_without_authorities_is_the_own_one)
{
    const vrc::TrustStore store = vrc::trustStore({}, write("own.pem", "own"));
    EXPECT_EQ(store.folder, "");
    EXPECT_EQ(store.certificates, "\nown");
}

TEST_F(TrustStore, an_own_authority_that_cannot_be_read_is_an_error_with_every_system)
{
    write("certs/c0ff1f52.0", "authority");
    const std::string empty = write("own.pem", "");
    for (const vrc::SystemAuthorities &authorities : {system(), vrc::SystemAuthorities{}}) {
        EXPECT_THROW(static_cast<void>(vrc::trustStore(authorities, empty)), vrc::Failure);
        EXPECT_THROW(static_cast<void>(vrc::trustStore(authorities, m_folder.path().string())), vrc::Failure);
    }
}

} // namespace
