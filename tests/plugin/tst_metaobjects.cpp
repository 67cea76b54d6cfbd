// SPDX-License-Identifier: LGPL-2.1-or-later
#include "tests/plugin/loadedplugin.h"

#include <QMetaMethod>
#include <QTest>

namespace {

/** What a class adds to its base class: "signal bool name(types)|argument,names". */
QByteArrayList ownMethods(const QMetaObject *metaObject)
{
    QByteArrayList methods;
    for (int i = metaObject->methodOffset(); i < metaObject->methodCount(); ++i) {
        const QMetaMethod method = metaObject->method(i);
        const QByteArray kind = method.methodType() == QMetaMethod::Signal ? "signal "
            : method.methodType() == QMetaMethod::Slot                     ? "slot "
                                                                           : "other ";
        methods += kind + method.typeName() + ' ' + method.methodSignature() + '|'
            + method.parameterNames().join(',');
    }
    return methods;
}

QObject *childOfClass(const QObject &parent, const char *className)
{
    for (QObject *child : parent.children()) {
        if (qstrcmp(child->metaObject()->className(), className) == 0)
            return child;
    }
    return nullptr;
}

} // namespace

/** The meta-objects of the loaded plugin's objects: order, signatures, results, argument names. */
class TestMetaObjects : public LoadedPlugin
{
    Q_OBJECT

private slots:
    void ofTheService();
    void ofTheSource();
    void ofTheSink();
    void ofTheScheduler();
    void ofTheRequestsBase();
    void ofTheOperationRequest();
    void ofTheSendRequest();
    void everySourceOperationGivesItsResult();

private:
    QObject *request();
};

/** A running operation request. */
QObject *TestMetaObjects::request()
{
    m_service->source().retrieveFolderList(m_account, QMailFolderId(), true);
    return childOfClass(m_service->source(), "AsDaemonOperationRequest");
}

void TestMetaObjects::ofTheService()
{
    const QMetaObject *metaObject = m_service->metaObject();
    QCOMPARE(metaObject->className(), "OrvService");
    QCOMPARE(metaObject->superClass(), &QMailMessageService::staticMetaObject);
    const QByteArrayList expected {
        "signal void operationCanceled(QMailServiceAction::Status::ErrorCode)|code",
        "slot bool cancelOperation(QMailServiceAction::Status::ErrorCode,QString)|code,text",
        "slot void updateStatus(QString)|text",
        "slot void countProgress()|",
        "slot void completeAction()|",
    };
    QCOMPARE(ownMethods(metaObject), expected);
}

void TestMetaObjects::ofTheSource()
{
    const QMetaObject *metaObject = m_service->source().metaObject();
    QCOMPARE(metaObject->className(), "OrvSource");
    QCOMPARE(metaObject->superClass(), &QMailMessageSource::staticMetaObject);
    const QByteArrayList expected {
        "signal void updateStatus(QString)|text",
        "signal void actionCompleted(bool)|success",
        "slot bool retrieveAll(QMailAccountId)|accountId",
        "slot bool exportUpdates(QMailAccountId)|accountId",
        "slot bool synchronize(QMailAccountId)|accountId",
        "slot bool retrieveFolderList(QMailAccountId,QMailFolderId,bool)"
        "|accountId,folderId,descending",
        "slot bool retrieveMessageList(QMailAccountId,QMailFolderId,uint,QMailMessageSortKey)"
        "|accountId,folderId,minimum,sort",
        "slot bool retrieveMessages(QMailMessageIdList,"
        "QMailRetrievalAction::RetrievalSpecification)|ids,spec",
        "slot bool retrieveMessagePart(QMailMessagePart::Location)|partLocation",
        "slot bool retrieveMessageRange(QMailMessageId,uint)|messageId,minimum",
        "slot bool retrieveMessagePartRange(QMailMessagePart::Location,uint)"
        "|partLocation,minimum",
        "slot bool prepareMessages("
        "QList<QPair<QMailMessagePart::Location,QMailMessagePart::Location> >)|ids",
        // Qt names quint64 so.
        "slot bool flagMessages(QMailMessageIdList,qulonglong,qulonglong)|ids,setMask,unsetMask",
        "slot bool deleteMessages(QMailMessageIdList)|ids",
        "slot bool protocolRequest(QMailAccountId,QString,QVariant)|accountId,request,data",
        "slot bool retrieveMessageLists(QMailAccountId,QMailFolderIdList,uint,"
        "QMailMessageSortKey)|accountId,folderIds,minimum,sort",
        "slot bool searchMessages(QMailMessageKey,QString,QMailMessageSortKey)"
        "|filter,bodyText,sort",
        "slot bool cancelSearch()|",
        "slot void completeAction()|",
        "slot bool isExternalSyncWorking()|",
        "slot bool cancelExternalSync()|",
        "slot void handleSyncRequestCompleted(int,AsDaemonRequest*,bool)|code,,cancelled",
        "slot void onSyncStarted()|",
        "slot void onSyncStarted(qulonglong)|account",
        "slot void onSyncCompleted(qulonglong)|account",
        "slot void onSearchMailboxCompleted(int,qulonglong,Activesync::SearchMailboxResult,int)"
        "|aStatus,aAccountId,aResult,aRequestId",
        "slot void onListenerFinished(QString)|path",
    };
    QCOMPARE(expected.count(), 27);
    QCOMPARE(ownMethods(metaObject), expected);
    QVERIFY(metaObject->indexOfSlot("flagMessages(QMailMessageIdList,quint64,quint64)")
            >= metaObject->methodOffset());
}

void TestMetaObjects::ofTheSink()
{
    const QMetaObject *metaObject = m_service->sink().metaObject();
    QCOMPARE(metaObject->className(), "OrvSink");
    QCOMPARE(metaObject->superClass(), &QMailMessageSink::staticMetaObject);
    const QByteArrayList expected {
        "signal void actionCompleted(bool)|success",
        "slot bool transmitMessages(QMailMessageIdList)|ids",
        "slot void completeAction(bool)|res",
        "slot void onSync(qulonglong)|account",
    };
    QCOMPARE(ownMethods(metaObject), expected);
}

void TestMetaObjects::ofTheScheduler()
{
    const QObject *scheduler = childOfClass(*m_service, "RequestScheduler");
    QVERIFY(scheduler);
    const QByteArrayList expected {
        "signal void actionCompleted(bool)|success",
        "slot void onRequestCompleted(int,AsDaemonRequest*,bool)|code,request,canceled",
        "slot int addRequest(AsDaemonRequest*)|request",
        "slot void addSecondQueueRequest(AsDaemonRequest*)|request",
    };
    QCOMPARE(ownMethods(scheduler->metaObject()), expected);
}

void TestMetaObjects::ofTheRequestsBase()
{
    const QObject *operation = request();
    QVERIFY(operation);
    const QMetaObject *metaObject = operation->metaObject()->superClass();
    QCOMPARE(metaObject->className(), "AsDaemonRequest");
    QCOMPARE(metaObject->superClass(), &QObject::staticMetaObject);
    const QByteArrayList expected {
        "signal void requestCompleted(int,AsDaemonRequest*,bool)|code,request,cancelled",
        "signal void requestSet(AsDaemonRequest*)|daemonRequest",
        "slot void onRequestCompleted(int,qulonglong,int)|code,accountId,request",
        "slot void onCancelled(QMailServiceAction::Status::ErrorCode)|code",
    };
    QCOMPARE(ownMethods(metaObject), expected);
}

void TestMetaObjects::ofTheOperationRequest()
{
    const QObject *operation = request();
    QVERIFY(operation);
    QCOMPARE(operation->metaObject()->className(), "AsDaemonOperationRequest");
    QCOMPARE(ownMethods(operation->metaObject()), QByteArrayList());
}

void TestMetaObjects::ofTheSendRequest()
{
    m_service->sink().transmitMessages({StoreFixture::addOutgoing(m_account)});
    const QObject *send = childOfClass(m_service->sink(), "AsDaemonSendRequest");
    QVERIFY(send);
    QCOMPARE(send->metaObject()->superClass()->className(), "AsDaemonRequest");
    const QByteArrayList expected {
        "signal void messagesTransmitted(QMailMessageIdList)|ids",
        "signal void messagesFailedTransmission("
        "QMailMessageIdList,QMailServiceAction::Status::ErrorCode)|ids,",
        "slot void onRequestCompleted(int,qulonglong,int)|code,accountId,request",
        "slot void onCancelled(QMailServiceAction::Status::ErrorCode)|code",
    };
    QCOMPARE(ownMethods(send->metaObject()), expected);
}

void TestMetaObjects::everySourceOperationGivesItsResult()
{
    QMailMessageSource *source = &m_service->source();
    bool result = true;
    QVERIFY(QMetaObject::invokeMethod(source, "retrieveMessageRange", Q_RETURN_ARG(bool, result),
                                      Q_ARG(QMailMessageId, QMailMessageId()), Q_ARG(uint, 1)));
    QVERIFY(!result);
    QVERIFY(QMetaObject::invokeMethod(source, "synchronize", Q_RETURN_ARG(bool, result),
                                      Q_ARG(QMailAccountId, m_account)));
    QVERIFY(result);
    QVERIFY(QMetaObject::invokeMethod(source, "cancelExternalSync", Q_RETURN_ARG(bool, result)));
    QVERIFY(!result);
    QVERIFY(QMetaObject::invokeMethod(source, "cancelSearch", Q_RETURN_ARG(bool, result)));
    QVERIFY(result);
}

QTEST_GUILESS_MAIN(TestMetaObjects)

#include "tst_metaobjects.moc"
