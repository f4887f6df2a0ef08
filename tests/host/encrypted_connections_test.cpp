// SPDX-License-Identifier: Apache-2.0
// The host with a certificate, asked by a client that it knows nothing of.
#include <curl/curl.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <cstdio>

#include "tests/host/serving_fixture.h"

namespace mercato::test {
namespace {

class EncryptedConnections : public ServingTest {
 protected:
  EncryptedConnections() { options_.front.head_time = std::chrono::milliseconds(1000); }
  void SetUp() override {
    ServingTest::SetUp();
    stop();
    make_certificate();
    options_.front.tls_certificate = certificate();
    options_.front.tls_key = key();
    start();
  }

  struct Told {
    CURLcode code = CURLE_OK;
    long status = 0;
    std::string text;  // head and body
  };
  Told ask(const std::string& method, const std::string& target, const std::string& token = "",
           long newest_version = CURL_SSLVERSION_DEFAULT) const {
    Told told;
    CURL* curl = ::curl_easy_init();
    const std::string url = "https://localhost:" + std::to_string(serving_->port()) + target;
    curl_slist* fields =
        token.empty() ? nullptr : ::curl_slist_append(nullptr, ("Authorization: Bearer " + token).c_str());
    curl_slist* names =
        ::curl_slist_append(nullptr, ("localhost:" + std::to_string(serving_->port()) + ":127.0.0.1").c_str());
    ::curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
    ::curl_easy_setopt(curl, CURLOPT_RESOLVE, names);
    ::curl_easy_setopt(curl, CURLOPT_NOPROXY, "*");
    ::curl_easy_setopt(curl, CURLOPT_CUSTOMREQUEST, method.c_str());
    ::curl_easy_setopt(curl, CURLOPT_HTTPHEADER, fields);
    ::curl_easy_setopt(curl, CURLOPT_CAINFO, certificate().c_str());
    ::curl_easy_setopt(curl, CURLOPT_SSLVERSION, newest_version);
    ::curl_easy_setopt(curl, CURLOPT_HEADER, 1L);
    ::curl_easy_setopt(curl, CURLOPT_TIMEOUT, 10L);
    ::curl_easy_setopt(curl, CURLOPT_WRITEDATA, &told.text);
    ::curl_easy_setopt(
        curl, CURLOPT_WRITEFUNCTION, +[](char* bytes, std::size_t, std::size_t count, void* text) {
          static_cast<std::string*>(text)->append(bytes, count);
          return count;
        });
    told.code = ::curl_easy_perform(curl);
    ::curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &told.status);
    ::curl_slist_free_all(fields);
    ::curl_slist_free_all(names);
    ::curl_easy_cleanup(curl);
    return told;
  }

  std::string certificate() const { return (folder() / "host.pem").string(); }
  std::string key() const { return (folder() / "host.key").string(); }

 private:
  // For "localhost", signed by itself.
  void make_certificate() const {
    EVP_PKEY* pair = ::EVP_EC_gen("P-256");
    X509* written = ::X509_new();
    ::X509_set_version(written, 2);
    ::ASN1_INTEGER_set(::X509_get_serialNumber(written), 1);
    ::X509_gmtime_adj(::X509_getm_notBefore(written), -3600);
    ::X509_gmtime_adj(::X509_getm_notAfter(written), 3600);
    ::X509_set_pubkey(written, pair);
    X509_NAME* name = ::X509_get_subject_name(written);
    ::X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, reinterpret_cast<const unsigned char*>("localhost"), -1, -1,
                                 0);
    ::X509_set_issuer_name(written, name);
    EXPECT_GT(::X509_sign(written, pair, ::EVP_sha256()), 0);
    std::FILE* file = std::fopen(certificate().c_str(), "w");
    EXPECT_EQ(::PEM_write_X509(file, written), 1);
    std::fclose(file);
    file = std::fopen(key().c_str(), "w");
    EXPECT_EQ(::PEM_write_PrivateKey(file, pair, nullptr, nullptr, 0, nullptr, nullptr), 1);
    std::fclose(file);
    ::X509_free(written);
    ::EVP_PKEY_free(pair);
  }
};

TEST_F(EncryptedConnections, AreAnsweredAsPlainOnesAreAndTheCookieIsSecure) {
  const Told product = ask("GET", "/api/v1/products/1", reader_);
  EXPECT_EQ(product.code, CURLE_OK) << ::curl_easy_strerror(product.code);
  EXPECT_EQ(product.status, 200);
  EXPECT_NE(product.text.find("\"PARTNUMBER\":\"PAPER-A4\""), std::string::npos) << product.text;
  EXPECT_EQ(ask("GET", "/api/v1/products/1").status, 401);
  const Told session = ask("POST", "/api/v1/session", reader_);
  EXPECT_NE(session.text.find("; HttpOnly; SameSite=Strict; Secure\r\n"), std::string::npos) << session.text;
}

TEST_F(EncryptedConnections, AreNotOlderThanTheyMayBe) {
  constexpr long kOld = CURL_SSLVERSION_TLSv1_0 | static_cast<long>(CURL_SSLVERSION_MAX_TLSv1_1);
  EXPECT_EQ(ask("GET", "/healthz", "", kOld).code, CURLE_SSL_CONNECT_ERROR);
  constexpr long kOldest = CURL_SSLVERSION_TLSv1_2 | static_cast<long>(CURL_SSLVERSION_MAX_TLSv1_2);
  EXPECT_EQ(ask("GET", "/healthz", "", kOldest).status, 200);
}

TEST_F(EncryptedConnections, ThatNeverBeginAreLeftAndPlainRequestsAreNotAnswered) {
  std::vector<HttpClient> silent;
  for (int count = 0; count < 50; ++count) {
    silent.push_back(client());
    if (count % 2 == 0) silent.back().send("\x16\x03\x01\x02");
  }
  HttpClient plain = client();
  plain.send_request("GET", "/healthz");
  EXPECT_EQ(ask("GET", "/healthz").status, 200);
  EXPECT_EQ(plain.rest().find("HTTP/"), std::string::npos);
  for (HttpClient& one : silent) EXPECT_TRUE(one.is_closed(5));
  EXPECT_EQ(ask("GET", "/healthz").status, 200);
}

}  // namespace
}  // namespace mercato::test
