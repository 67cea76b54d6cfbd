# SPDX-License-Identifier: LGPL-2.1-or-later
target_sources(orvmail-core PRIVATE
    ${PROJECT_SOURCE_DIR}/source/orvprogresslistener.cpp ${PROJECT_SOURCE_DIR}/source/orvprogresslistener.h
    ${PROJECT_SOURCE_DIR}/source/orvsource.cpp ${PROJECT_SOURCE_DIR}/source/orvsource.h
    ${PROJECT_SOURCE_DIR}/source/orvsourceexternalsync.cpp
    ${PROJECT_SOURCE_DIR}/source/orvsourceflags.cpp
    ${PROJECT_SOURCE_DIR}/source/orvsourceretrieval.cpp
    ${PROJECT_SOURCE_DIR}/source/syncmarker.cpp ${PROJECT_SOURCE_DIR}/source/syncmarker.h
)
