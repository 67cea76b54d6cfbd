// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef PLUGIN_SETTINGS_ORVCONFIGURATION_H
#define PLUGIN_SETTINGS_ORVCONFIGURATION_H

#include <qmailserviceconfiguration.h>

/**
 * An account's settings for the service "orvmail", as the mail store keeps them: read only.
 *
 * A value that was never stored reads as its default.
 */
class OrvConfiguration : public QMailServiceConfiguration
{
public:
    explicit OrvConfiguration(const QMailAccountConfiguration &config);
    explicit OrvConfiguration(const QMailAccountConfiguration::ServiceConfiguration &config);

    QString mailEmail() const;
    QString mailDomain() const;
    QString mailUserName() const;
    QString mailServer() const;
    /** The clear text. The store holds it in the reversible encoding of QMF. */
    QString mailPassword() const;
    /** TCP port; 80 where none is stored, 0 where something else than a number is. */
    int mailPort() const;
    /** 0: none, 1: TLS. */
    int mailEncryption() const;
    /**
     * True for any non-zero number; the word "true" reads as false.
     *
     * Deliberate, though the service itself goes by the account's custom field of this name: the
     * view shows all that a program may have stored.
     */
    bool pushEnabled() const;

protected:
    explicit OrvConfiguration(QMailAccountConfiguration *config);
};

#endif
