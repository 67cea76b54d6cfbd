// SPDX-License-Identifier: LGPL-2.1-or-later
#include "plugin/service/statuscode.h"
#include "tests/plugin/logrecorder.h"

#include <QMap>
#include <QTest>

namespace {

/** The table, written down once more: target value to daemon codes. All others are 1037. */
const QMap<int, QList<int>> Table {
    {0, {200, 1001, 4001, 4002, 4003, 4004, 4005, 4006, 4008, 4009, 4010, 4011, 4012, 4015}},
    {1026, {5, 403, 60099, 60101, 60102, 60199, 60205, 60299, 60301, 60302, 60399}},
    {1027, {500, 999}},
    {1029, {401, 60201, 60204}},
    {1030, {0, 1030}},
    {1031, {1, 507}},
    {1034, {3, 902, 60001, 60002, 60003, 60103, 60203}},
    {1036, {60007}},
    {1038, {400, 404}},
    {1039, {501, 1006, 1007, 1015}},
    {1040, {901, 6008, 60004, 60005, 60104}},
};

int expected(int code)
{
    for (auto entry = Table.cbegin(); entry != Table.cend(); ++entry) {
        if (entry.value().contains(code))
            return entry.key();
    }
    return 1037;
}

} // namespace

class TestStatusCodes : public QObject
{
    Q_OBJECT

private slots:
    void agreesWithTheTableFromMinus70000To70000();
    void translatesTheEndsOfTheNumberRange();
    void writesOneLineForEveryError();
};

void TestStatusCodes::agreesWithTheTableFromMinus70000To70000()
{
    LogRecorder log;
    for (int code = -70000; code <= 70000; ++code) {
        if (int(statusErrorCode(code)) != expected(code))
            QFAIL(qPrintable(QStringLiteral("%1 is %2").arg(code).arg(statusErrorCode(code))));
    }
    QCOMPARE(log.takeLines().count(), 140001 - Table.value(0).count());
}

void TestStatusCodes::translatesTheEndsOfTheNumberRange()
{
    QCOMPARE(int(statusErrorCode(std::numeric_limits<int>::min())), 1037);
    QCOMPARE(int(statusErrorCode(std::numeric_limits<int>::max())), 1037);
}

void TestStatusCodes::writesOneLineForEveryError()
{
    LogRecorder log;
    statusErrorCode(401);
    statusErrorCode(-1);
    QCOMPARE(log.takeLines(),
             QStringList({QStringLiteral("QMailServiceAction::Status::ErrorCode( 401 ) is  1029"),
                          QStringLiteral("QMailServiceAction::Status::ErrorCode( -1 ) is  1037")}));
}

QTEST_GUILESS_MAIN(TestStatusCodes)

#include "tst_statuscodes.moc"
