# SPDX-License-Identifier: LGPL-2.1-or-later
target_sources(orvmail-core PRIVATE
    ${PROJECT_SOURCE_DIR}/search/folderscope.cpp ${PROJECT_SOURCE_DIR}/search/folderscope.h
    ${PROJECT_SOURCE_DIR}/search/searchcriteria.cpp ${PROJECT_SOURCE_DIR}/search/searchcriteria.h
    ${PROJECT_SOURCE_DIR}/search/orvsourcesearch.cpp
)
