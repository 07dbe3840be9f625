// SPDX-License-Identifier: MIT
#include "appserver/certificates.h"

#include "appserver/openssl_error.h"
#include "appserver/server_files.h"

#include <arpa/inet.h>
#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509v3.h>

#include <algorithm>
#include <array>
#include <memory>

namespace appserver {

namespace {

template <auto Release>
struct Releaser
{
    template <typename Object>
    void operator()(Object *object) const
    {
        Release(object);
    }
};

using KeyPtr = std::unique_ptr<EVP_PKEY, Releaser<EVP_PKEY_free>>;
using CertificatePtr = std::unique_ptr<X509, Releaser<X509_free>>;
using BioPtr = std::unique_ptr<BIO, Releaser<BIO_free_all>>;
using NumberPtr = std::unique_ptr<BIGNUM, Releaser<BN_free>>;
using ExtensionPtr = std::unique_ptr<X509_EXTENSION, Releaser<X509_EXTENSION_free>>;

constexpr std::size_t pemMaxBytes = 65536;
constexpr long daySeconds = 24 * 3600;
constexpr long authorityDays = 3650;
constexpr long certificateDays = 825; ///< some systems refuse certificates that are valid for longer
constexpr long renewDays = 30;

void require(bool succeeded, const std::string &what)
{
    requireOpenSsl(succeeded, "certificate: " + what);
}

bool isIpAddress(const std::string &name)
{
    std::array<unsigned char, 16> address;
    return ::inet_pton(AF_INET, name.c_str(), address.data()) == 1 ||
           ::inet_pton(AF_INET6, name.c_str(), address.data()) == 1;
}

KeyPtr newKey()
{
    KeyPtr key(EVP_EC_gen("P-256"));
    require(key != nullptr, "cannot generate a key");
    return key;
}

std::string bioText(BIO *bio)
{
    char *data = nullptr;
    const long length = BIO_get_mem_data(bio, &data);
    return {data, static_cast<std::size_t>(length)};
}

std::string pemOf(EVP_PKEY *key)
{
    const BioPtr bio(BIO_new(BIO_s_mem()));
    require(PEM_write_bio_PrivateKey(bio.get(), key, nullptr, nullptr, 0, nullptr, nullptr) == 1,
            "cannot write a key");
    return bioText(bio.get());
}

std::string pemOf(X509 *certificate)
{
    const BioPtr bio(BIO_new(BIO_s_mem()));
    require(PEM_write_bio_X509(bio.get(), certificate) == 1, "cannot write a certificate");
    return bioText(bio.get());
}

BioPtr bioOf(const std::string &text)
{
    return BioPtr(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
}

KeyPtr readKey(const std::filesystem::path &path)
{
    const std::string text = readWholeFile(path, pemMaxBytes);
    KeyPtr key(PEM_read_bio_PrivateKey(bioOf(text).get(), nullptr, nullptr, nullptr));
    require(key != nullptr, "cannot read " + path.string());
    return key;
}

CertificatePtr readCertificate(const std::filesystem::path &path)
{
    const std::string text = readWholeFile(path, pemMaxBytes);
    CertificatePtr certificate(PEM_read_bio_X509(bioOf(text).get(), nullptr, nullptr, nullptr));
    require(certificate != nullptr, "cannot read " + path.string());
    return certificate;
}

void setSerial(X509 *certificate)
{
    const NumberPtr serial(BN_new());
    require(BN_rand(serial.get(), 127, BN_RAND_TOP_ANY, BN_RAND_BOTTOM_ANY) == 1, "no random number");
    require(BN_to_ASN1_INTEGER(serial.get(), X509_get_serialNumber(certificate)) != nullptr,
            "no serial number");
}

void addExtension(X509 *certificate, X509 *issuer, int kind, const std::string &value)
{
    X509V3_CTX context;
    X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
    const ExtensionPtr extension(X509V3_EXT_conf_nid(nullptr, &context, kind, value.c_str()));
    require(extension != nullptr, "cannot make an extension");
    require(X509_add_ext(certificate, extension.get(), -1) == 1, "cannot add an extension");
}

CertificatePtr newCertificate(EVP_PKEY *key, const std::string &commonName, long days)
{
    CertificatePtr certificate(X509_new());
    require(certificate != nullptr, "out of memory");
    X509_set_version(certificate.get(), X509_VERSION_3);
    setSerial(certificate.get());
    // A client's clock may be a little behind.
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -daySeconds);
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), days * daySeconds);
    require(X509_set_pubkey(certificate.get(), key) == 1, "cannot set the key");
    const std::vector<unsigned char> name(commonName.begin(), commonName.end());
    require(X509_NAME_add_entry_by_NID(X509_get_subject_name(certificate.get()), NID_commonName,
                                       MBSTRING_UTF8, name.data(), static_cast<int>(name.size()), -1, 0) == 1,
            "cannot set the name");
    return certificate;
}

void sign(X509 *certificate, X509 *issuer, EVP_PKEY *issuerKey)
{
    require(X509_set_issuer_name(certificate, X509_get_subject_name(issuer)) == 1, "cannot set the issuer");
    addExtension(certificate, issuer, NID_subject_key_identifier, "hash");
    addExtension(certificate, issuer, NID_authority_key_identifier, "keyid:always");
    require(X509_sign(certificate, issuerKey, EVP_sha256()) > 0, "cannot sign");
}

void createAuthority(const CertificateFiles &files)
{
    const KeyPtr key = newKey();
    // The name tells the authorities of several servers apart in a trust store.
    std::array<unsigned char, 4> tag{};
    require(RAND_bytes(tag.data(), static_cast<int>(tag.size())) == 1, "no random number");
    std::array<char, 9> tagText{};
    std::snprintf(tagText.data(), tagText.size(), "%02x%02x%02x%02x", tag[0], tag[1], tag[2], tag[3]);
    const CertificatePtr authority =
        newCertificate(key.get(), "Varek Print authority " + std::string(tagText.data()), authorityDays);
    addExtension(authority.get(), authority.get(), NID_basic_constraints, "critical,CA:TRUE,pathlen:0");
    addExtension(authority.get(), authority.get(), NID_key_usage, "critical,keyCertSign,cRLSign");
    sign(authority.get(), authority.get(), key.get());
    writeFileAtomically(files.authorityKey, pemOf(key.get()));
    writeFileAtomically(files.authority, pemOf(authority.get()), true);
}

std::string alternativeNames(const std::vector<std::string> &names)
{
    std::string list;
    for (const std::string &name : names) {
        list += list.empty() ? "" : ",";
        list += (isIpAddress(name) ? "IP:" : "DNS:") + name;
    }
    return list;
}

/// What a client that trusts the root alone needs besides the server's certificate.
std::string wayToTheRoot(const CertificateFiles &files, X509 *authority)
{
    constexpr int byItsNames = 0;
    const bool isRoot = X509_self_signed(authority, byItsNames) == 1;
    return isRoot ? std::string() : readWholeFile(files.authority, pemMaxBytes);
}

void createCertificate(const CertificateFiles &files, const std::vector<std::string> &names)
{
    const KeyPtr authorityKey = readKey(files.authorityKey);
    const CertificatePtr authority = readCertificate(files.authority);
    const KeyPtr key = newKey();
    const CertificatePtr certificate = newCertificate(key.get(), "Varek Print server", certificateDays);
    addExtension(certificate.get(), authority.get(), NID_basic_constraints, "critical,CA:FALSE");
    addExtension(certificate.get(), authority.get(), NID_key_usage, "critical,digitalSignature");
    addExtension(certificate.get(), authority.get(), NID_ext_key_usage, "serverAuth");
    addExtension(certificate.get(), authority.get(), NID_subject_alt_name, alternativeNames(names));
    sign(certificate.get(), authority.get(), authorityKey.get());
    writeFileAtomically(files.key, pemOf(key.get()));
    writeFileAtomically(files.certificate, pemOf(certificate.get()) + wayToTheRoot(files, authority.get()),
                        true);
}

bool namesEveryone(X509 *certificate, const std::vector<std::string> &names)
{
    return std::ranges::all_of(names, [certificate](const std::string &name) {
        return isIpAddress(name) ? X509_check_ip_asc(certificate, name.c_str(), 0) == 1
                                 : X509_check_host(certificate, name.c_str(), name.size(), 0, nullptr) == 1;
    });
}

bool stillGood(const CertificateFiles &files, const std::vector<std::string> &names)
{
    if (!std::filesystem::exists(files.certificate) || !std::filesystem::exists(files.key)) {
        return false;
    }
    const CertificatePtr certificate = readCertificate(files.certificate);
    const CertificatePtr authority = readCertificate(files.authority);
    const KeyPtr key = readKey(files.key);
    std::time_t renewal = std::time(nullptr) + renewDays * daySeconds;
    return X509_cmp_time(X509_get0_notAfter(certificate.get()), &renewal) > 0 &&
           X509_check_private_key(certificate.get(), key.get()) == 1 &&
           X509_verify(certificate.get(), X509_get0_pubkey(authority.get())) == 1 &&
           namesEveryone(certificate.get(), names);
}

} // namespace

CertificateFiles certificateFilesIn(const std::filesystem::path &dataFolder)
{
    return {dataFolder / "vrc-ca.pem", dataFolder / "ca-key.pem", dataFolder / "server.pem",
            dataFolder / "server-key.pem"};
}

void ensureCertificates(const CertificateFiles &files, const std::vector<std::string> &names)
{
    if (!std::filesystem::exists(files.authority) || !std::filesystem::exists(files.authorityKey)) {
        createAuthority(files);
    }
    if (!stillGood(files, names)) {
        createCertificate(files, names);
    }
}

} // namespace appserver
