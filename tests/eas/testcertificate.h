// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_EAS_TESTCERTIFICATE_H
#define TESTS_EAS_TESTCERTIFICATE_H

#include <QSslCertificate>
#include <QSslKey>

/** A self-signed certificate, made for the test by openssl. */
struct TestCertificate
{
    QSslCertificate certificate;
    QSslKey key;

    bool isValid() const { return !certificate.isNull() && !key.isNull(); }

    /** `names` as openssl has them ("DNS:localhost,IP:127.0.0.1"); `days` of validity, negative:
     * over already. */
    static TestCertificate make(const char *commonName, const char *names, int days = 2);
};

#endif
