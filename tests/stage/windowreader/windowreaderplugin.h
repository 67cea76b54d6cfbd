// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_STAGE_WINDOWREADER_WINDOWREADERPLUGIN_H
#define TESTS_STAGE_WINDOWREADER_WINDOWREADERPLUGIN_H

#include <QGenericPlugin>

/** Has any Qt program read itself: QT_QPA_GENERIC_PLUGINS=windowreader:FILE. */
class WindowReaderPlugin : public QGenericPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QGenericPluginFactoryInterface_iid FILE "windowreader.json")

public:
    QObject *create(const QString &name, const QString &file) override;
};

#endif
