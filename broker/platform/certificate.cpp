// Certificates read from files, and the names that they have.
#include "broker/platform/certificate.h"

#include "broker/certificate_name.h"

#include <fmt/format.h>

#include <openssl/err.h>
#include <openssl/pem.h>

#include <cstdio>

namespace qx5::broker {

Certificate ReadCertificate(std::filesystem::path const& file)
{
    std::unique_ptr<std::FILE, FreeBy<std::fclose>> const opened(std::fopen(file.c_str(), "re"));
    Certificate read;
    if (opened) {
        read.reset(PEM_read_X509(opened.get(), nullptr, nullptr, nullptr));
    }
    ERR_clear_error();
    return read;
}

std::string CommonNameOf(CertificateFiles const& files, std::string& error)
{
    auto const ours = ReadCertificate(files.certificate);
    if (!ours) {
        error = fmt::format("{} holds no certificate", files.certificate.string());
        return {};
    }
    auto* const subject = X509_get_subject_name(ours.get());
    auto const place = X509_NAME_get_index_by_NID(subject, NID_commonName, -1);
    unsigned char* text = nullptr;
    int const length =
        place < 0 ? -1 : ASN1_STRING_to_UTF8(&text, X509_NAME_ENTRY_get_data(X509_NAME_get_entry(subject, place)));
    if (length <= 0) {
        ERR_clear_error();
        OPENSSL_free(text);
        error = fmt::format("the certificate {} has no common name", files.certificate.string());
        return {};
    }
    std::string const name(reinterpret_cast<char const*>(text), static_cast<std::size_t>(length));
    OPENSSL_free(text);
    return name;
}

} // namespace qx5::broker
