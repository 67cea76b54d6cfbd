// SPDX-License-Identifier: LGPL-2.1-or-later
#include "plugin/orvconfigurator.h"

#include "plugin/service/servicekey.h"
#include "plugin/settings/settingsmodule.h"

#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QPluginLoader>

#include <dlfcn.h>

namespace {

/** The module lies beside the folder from which the message server loads this library. */
QString modulePath()
{
    Dl_info own;
    if (!dladdr(reinterpret_cast<void *>(&modulePath), &own))
        return QString();
    const QDir folder = QFileInfo(QFile::decodeName(own.dli_fname)).absoluteDir();
    return QDir::cleanPath(folder.filePath(QStringLiteral("../orvmail/liborvmail-settings.so")));
}

/** The loaded module, which then stays loaded, or null with one warning. */
const SettingsModuleInterface *settingsModule()
{
    // A widget without a QApplication ends the program; the message server has none.
    if (!QCoreApplication::instance() || !QCoreApplication::instance()->inherits("QApplication")) {
        qWarning() << "orvmail: no settings form, as this program shows no widgets";
        return nullptr;
    }
    QPluginLoader loader(modulePath());
    const auto *module = qobject_cast<SettingsModuleInterface *>(loader.instance());
    if (!module)
        qWarning() << "orvmail: no settings form:" << loader.errorString();
    return module;
}

} // namespace

QString OrvConfigurator::service() const
{
    return OrvServiceKey;
}

QString OrvConfigurator::displayName() const
{
    return QStringLiteral("ORV");
}

QMailMessageServiceEditor *
OrvConfigurator::createEditor(QMailMessageServiceFactory::ServiceType type)
{
    if (type != QMailMessageServiceFactory::Source && type != QMailMessageServiceFactory::Sink)
        return nullptr;
    const SettingsModuleInterface *module = settingsModule();
    return module ? module->createEditor() : nullptr;
}
