// A certificate as OpenSSL has it, read from a file.
#pragma once

#include <openssl/x509.h>

#include <filesystem>
#include <memory>

namespace qx5::broker {

/// For what OpenSSL and C give and want back.
template <auto Free>
struct FreeBy
{
    template <typename T>
    void operator()(T* held) const
    {
        Free(held);
    }
};
using Certificate = std::unique_ptr<X509, FreeBy<X509_free>>;

/// The first certificate of a PEM file; null when there is none.
Certificate ReadCertificate(std::filesystem::path const& file);

} // namespace qx5::broker
