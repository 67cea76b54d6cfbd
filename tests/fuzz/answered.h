// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef TESTS_FUZZ_ANSWERED_H
#define TESTS_FUZZ_ANSWERED_H

#include "eas/command.h"
#include "tests/fuzz/require.h"

/** A command that never meets a server: its answer is put in. */
template <class Base>
class Answered : public Base
{
public:
    using Base::Base;

    /** As Command does with an answer that HTTP has delivered. */
    Eas::Result answer(const QByteArray &bytes, int step)
    {
        const std::unique_ptr<Eas::AnswerParser> parser(this->newParser());
        for (int i = 0; i < bytes.size(); i += step) {
            if (!parser->feed(bytes.mid(i, step)))
                break;
        }
        if (!parser->finish()) {
            REQUIRE(parser->isUntouched() || !parser->errorString().isEmpty());
            return {Eas::InvalidAnswer, parser->errorString()};
        }
        REQUIRE(parser->errorString().isEmpty());
        return this->evaluate();
    }
};

#endif
