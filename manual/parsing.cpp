// SPDX-License-Identifier: LGPL-2.1-or-later
#include "manual/parsing.h"

#include <QCommandLineParser>

namespace Manual {

void addOptions(QCommandLineParser &parser, const QList<Option> &options)
{
    for (const Option &option : options) {
        QStringList names {option.name};
        if (!option.letter.isEmpty())
            names.prepend(option.letter);
        parser.addOption({names, option.text, option.value});
    }
}

} // namespace Manual
