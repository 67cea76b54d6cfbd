// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef PLUGIN_SETTINGS_ORVSETTINGS_H
#define PLUGIN_SETTINGS_ORVSETTINGS_H

#include "plugin/settings/ui_orvsettings.h"

#include <qmailmessageservice.h>
#include <QVariantMap>

struct AccountSettings;

/** The account-settings widget: shows an account's settings and writes them back. */
class OrvSettings : public QMailMessageServiceEditor
{
    Q_OBJECT
    Q_PROPERTY(QVariantMap typedSettings READ typedSettings)

public:
    OrvSettings();

    /**
     * What stands in the form, by the names that the account's configuration uses.
     *
     * The password is as typed, also where the configuration's encoding would lose some of its
     * characters: the caller can refuse it before saving.
     */
    QVariantMap typedSettings() const;

    /** Fills the form; an account that is not ours yet shows the defaults. */
    void displayConfiguration(const QMailAccount &account,
                              const QMailAccountConfiguration &config) override;
    /**
     * Writes the form into the account and its configuration and marks it as enabled.
     *
     * Nothing is validated but the port, which is 80 where it is none. Always true.
     */
    bool updateAccount(QMailAccount *account, QMailAccountConfiguration *config) override;

protected:
    void changeEvent(QEvent *event) override;

private:
    AccountSettings typed() const;
    void retranslate();
    void nameInputs();
    void tellOfPort();
    int enteredPort() const;

    Ui_OrvSettings m_form;
};

#endif
