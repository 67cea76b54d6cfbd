// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_PLUGIN_SERVICEFIXTURE_H
#define TESTS_PLUGIN_SERVICEFIXTURE_H

#include "asclient/asdbusinterface.h"
#include "plugin/requests/asdaemonoperationrequest.h"
#include "plugin/requests/requestscheduler.h"
#include "plugin/service/orvservice.h"
#include "plugin/sink/orvsink.h"
#include "plugin/source/orvsource.h"
#include "tests/plugin/logrecorder.h"
#include "tests/plugin/servicespy.h"
#include "tests/support/scripteddaemon.h"
#include "tests/support/storefixture.h"

#include <QCoreApplication>
#include <QTimerEvent>

#include <memory>

/**
 * A service with its parts linked into the test: the daemon's double on one side, a spy on the
 * other. What a client of the message server can see is proved in tests/messageserver.
 */
class ServiceFixture
{
public:
    ServiceFixture()
        : account(StoreFixture::addAccount())
        , service(std::make_unique<OrvService>(account))
        , spy(service.get())
    {
    }

    ~ServiceFixture()
    {
        service.reset();
        StoreFixture::clear();
    }

    RequestScheduler &scheduler() { return *service->scheduler(); }
    OrvSource &source() { return static_cast<OrvSource &>(service->source()); }
    OrvSink &sink() { return static_cast<OrvSink &>(service->sink()); }

    /** A request that is in no queue: a bound sync, owned by the source. */
    AsDaemonOperationRequest *newRequest()
    {
        return new AsDaemonOperationRequest(*service, account,
                                            std::tr1::bind(&Activesync::AsDBusInterface::sync,
                                                           service->daemon(), account.toULongLong(),
                                                           QDBus::Block),
                                            &source());
    }

    /** The progress timer, driven. */
    void tick(int count = 1)
    {
        for (int i = 0; i < count; ++i) {
            QTimerEvent event(1);
            QCoreApplication::sendEvent(service.get(), &event);
        }
    }

    /** Lets what is scheduled for deletion go. */
    static void deleteDeferred()
    {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    ScriptedDaemon daemon;
    QMailAccountId account;
    std::unique_ptr<OrvService> service;
    ServiceSpy spy;
};

#endif
