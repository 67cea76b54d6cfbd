# SPDX-License-Identifier: LGPL-2.1-or-later
target_sources(orvmail-core PRIVATE
    ${PROJECT_SOURCE_DIR}/service/clock.cpp ${PROJECT_SOURCE_DIR}/service/clock.h
    ${PROJECT_SOURCE_DIR}/service/orvservice.cpp ${PROJECT_SOURCE_DIR}/service/orvservice.h
    ${PROJECT_SOURCE_DIR}/service/statuscode.cpp ${PROJECT_SOURCE_DIR}/service/statuscode.h
)
