// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef PLUGIN_SETTINGS_UI_ORVSETTINGS_H
#define PLUGIN_SETTINGS_UI_ORVSETTINGS_H

#include <QComboBox>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

/** The form of the account settings: seven labelled inputs in two columns. */
class Ui_OrvSettings
{
public:
    QVBoxLayout *vboxLayout;
    QGridLayout *gridLayout;
    QLabel *usernameLabel;
    QLineEdit *mailUserInput;
    QLabel *passwordLabel;
    QLineEdit *mailPasswInput;
    QLabel *serverLabel;
    QLineEdit *mailServerInput;
    QLabel *portLabel;
    QLineEdit *mailPortInput;
    QLabel *lblEncryptionIncoming;
    QLineEdit *mailDomainInput;
    QComboBox *encryptionIncoming;
    QLineEdit *mailEmailInput;
    QLabel *domainLabel;
    QLabel *emailLabel;

    /** Builds the form; the widget owns all of it. */
    void setupUi(QWidget *widget);
    /** Sets all texts in the current language. The encryption falls back to its first choice. */
    void retranslateUi(QWidget *widget);

private:
    void createWidgets(QWidget *widget);
    void connectLabels();
};

#endif
