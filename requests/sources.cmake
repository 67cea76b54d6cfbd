# SPDX-License-Identifier: LGPL-2.1-or-later
target_sources(orvmail-core PRIVATE
    ${PROJECT_SOURCE_DIR}/requests/asdaemonoperationrequest.cpp ${PROJECT_SOURCE_DIR}/requests/asdaemonoperationrequest.h
    ${PROJECT_SOURCE_DIR}/requests/asdaemonrequest.cpp ${PROJECT_SOURCE_DIR}/requests/asdaemonrequest.h
    ${PROJECT_SOURCE_DIR}/requests/asdaemonsendrequest.cpp ${PROJECT_SOURCE_DIR}/requests/asdaemonsendrequest.h
    ${PROJECT_SOURCE_DIR}/requests/daemonwaker.cpp ${PROJECT_SOURCE_DIR}/requests/daemonwaker.h
    ${PROJECT_SOURCE_DIR}/requests/requestscheduler.cpp ${PROJECT_SOURCE_DIR}/requests/requestscheduler.h
)
