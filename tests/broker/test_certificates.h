// Certificates of one run of the tests: authorities, a broker, vessels and persons, good and bad.
#pragma once

#include "broker/broker_address.h"

#include <filesystem>
#include <string>
#include <vector>

namespace qx5::test {

/// Makes authorities and certificates in a folder of its own, by the program openssl. Throws std::runtime_error, with
/// what that says, when it cannot.
class TestCertificates
{
public:
    /// The authority that brokers and clients of the tests trust, and another one, in `folder`, which must outlive
    /// this.
    explicit TestCertificates(std::filesystem::path folder);

    enum class Signer
    {
        Trusted,
        Foreign,
    };
    enum class Age
    {
        Good,
        Expired,
    };
    /// Makes NAME.pem and NAME.key, with the name as common name; `hosts` as openssl takes a subject's other names.
    void Make(std::string const& name, Signer signer = Signer::Trusted, Age age = Age::Good,
              std::string const& hosts = {});
    /// Those of somebody, with the trusted authority.
    broker::CertificateFiles Files(std::string const& name) const;
    std::filesystem::path Authority(Signer signer = Signer::Trusted) const;

private:
    void MakeAuthority(Signer signer);
    void Run(std::vector<std::string> arguments) const;

    std::filesystem::path m_folder;
};

} // namespace qx5::test
