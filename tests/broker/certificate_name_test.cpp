// What a certificate calls who has it.
#include "test_certificates.h"

#include "broker/certificate_name.h"
#include "tests/support/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

namespace qx5::test {
namespace {

TEST(CertificateName, IsTheCommonName)
{
    TemporaryFolder const folder{"qx5-certificate-name"};
    TestCertificates certificates(folder);
    certificates.Make("J\xC3\xB8rgen of Vega");
    std::string error;
    EXPECT_EQ(broker::CommonNameOf(certificates.Files("J\xC3\xB8rgen of Vega"), error), "J\xC3\xB8rgen of Vega");
    EXPECT_EQ(error, "");
}

TEST(CertificateName, IsToldToBeMissingInOneLine)
{
    TemporaryFolder const folder{"qx5-certificate-name"};
    auto const file = std::filesystem::path(folder) / "text.pem";
    std::ofstream(file) << "no certificate\n";
    std::string error;
    EXPECT_EQ(broker::CommonNameOf({{}, file, {}}, error), "");
    EXPECT_EQ(error, file.string() + " holds no certificate");
    EXPECT_EQ(broker::CommonNameOf({{}, file.string() + ".gone", {}}, error), "");
    EXPECT_EQ(error, file.string() + ".gone holds no certificate");
}

} // namespace
} // namespace qx5::test
