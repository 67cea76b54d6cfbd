// SPDX-License-Identifier: LGPL-2.1-or-later
// The editor base class for a QMF that was built without widgets: its header declares the class,
// its libraries leave it out. Built only where the libraries lack it.
#include <qmailmessageservice.h>

QMailMessageServiceEditor::QMailMessageServiceEditor() = default;

QMailMessageServiceEditor::~QMailMessageServiceEditor() = default;

#ifdef Q_MOC_RUN
// The meta-object compiler does not look into the installed header for a class of this file.
class QMailMessageServiceEditor : public QWidget
{
    Q_OBJECT
};
#endif

#include "qmailmessageserviceeditor.moc"
