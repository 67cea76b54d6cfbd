# SPDX-License-Identifier: LGPL-2.1-or-later
target_sources(orvmail-core PRIVATE
    ${PROJECT_SOURCE_DIR}/sink/orvsink.cpp ${PROJECT_SOURCE_DIR}/sink/orvsink.h
)
