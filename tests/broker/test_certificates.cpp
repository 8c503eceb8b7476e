// Certificates made by openssl, on curves: they take milliseconds.
#include "test_certificates.h"

#include "tests/cli/child_process.h"

#include <fstream>
#include <stdexcept>
#include <utility>

namespace qx5::test {

namespace {

char const* NameOfSigner(TestCertificates::Signer signer)
{
    return signer == TestCertificates::Signer::Trusted ? "authority" : "foreign-authority";
}

} // namespace

TestCertificates::TestCertificates(std::filesystem::path folder) : m_folder(std::move(folder))
{
    MakeAuthority(Signer::Trusted);
    MakeAuthority(Signer::Foreign);
}

void TestCertificates::Run(std::vector<std::string> arguments) const
{
    arguments.insert(arguments.begin(), OPENSSL_PROGRAM);
    auto const outcome = RunToEnd(arguments);
    if (outcome.code != 0) {
        throw std::runtime_error("openssl (Debian's package openssl) failed: " + outcome.err);
    }
}

void TestCertificates::MakeAuthority(Signer signer)
{
    std::string const name = NameOfSigner(signer);
    Run({"req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-days", "2", "-subj",
         "/CN=" + name, "-keyout", (m_folder / (name + ".key")).string(), "-out", Authority(signer).string()});
}

std::filesystem::path TestCertificates::Authority(Signer signer) const
{
    return m_folder / (std::string(NameOfSigner(signer)) + ".pem");
}

void TestCertificates::Make(std::string const& name, Signer signer, Age age, std::string const& hosts)
{
    auto const file = [&](std::string const& ending) { return (m_folder / (name + ending)).string(); };
    {
        std::ofstream extensions(file(".ext"));
        extensions << "basicConstraints=CA:FALSE\n";
        if (!hosts.empty()) {
            extensions << "subjectAltName=" << hosts << "\n";
        }
    }
    Run({"req", "-utf8", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-subj", "/CN=" + name,
         "-keyout", file(".key"), "-out", file(".csr")});
    // One that is good for no day has expired when it is made.
    Run({"x509", "-req", "-in", file(".csr"), "-CA", Authority(signer).string(), "-CAkey",
         (m_folder / (std::string(NameOfSigner(signer)) + ".key")).string(), "-CAcreateserial", "-days",
         age == Age::Good ? "2" : "0", "-extfile", file(".ext"), "-out", file(".pem")});
}

broker::CertificateFiles TestCertificates::Files(std::string const& name) const
{
    return {Authority(), m_folder / (name + ".pem"), m_folder / (name + ".key")};
}

} // namespace qx5::test
