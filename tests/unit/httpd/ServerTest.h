// A server on a free port whose handler notes each request and answers it at once, or later when a
// test says so.
#ifndef SERVER_TEST_H_
#define SERVER_TEST_H_

#include "HttpClient.h"

#include <gtest/gtest.h>
#include <httpd/server.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

inline constexpr const char* kGet = "GET /x HTTP/1.1\r\nHost: h\r\n\r\n";

class ServerTest : public testing::Test
{
protected:
    // Starts the server; limits as given.
    void start(const httpd::Limits& limits = {})
    {
        mServer = std::make_unique<httpd::Server>(
            mContext,
            [this](httpd::Request request, const httpd::Reply& reply) {
                mRequests.push_back(std::move(request));
                if (mAnswersLater) {
                    mReplies.push_back(reply);
                } else {
                    reply(mAnswer);
                }
            },
            [](unsigned int status) {
                httpd::Response page;
                page.status = status;
                page.headers = {{"Content-Type", "text/plain"}};
                page.body = "page " + std::to_string(status);
                return page;
            },
            limits);
        mServer->setObserver(
            [this](const httpd::Exchange& exchange) { mExchanges.push_back(exchange); });
        std::string problem;
        ASSERT_TRUE(mServer->listen("127.0.0.1", 0, problem)) << problem;
        ASSERT_NE(mServer->port(), 0);
    }

    HttpClient connect(const std::string& from = "127.0.0.1")
    {
        return {mContext, mServer->port(), from};
    }

    bool hasRequests(size_t count)
    {
        return runUntil(mContext, [&] { return mRequests.size() >= count; });
    }

    // Lets the server do what it can do without further input.
    void settle()
    {
        mContext.restart();
        while (mContext.run_one_for(std::chrono::milliseconds(20)) > 0) {
        }
    }

    boost::asio::io_context mContext{1};
    std::vector<httpd::Exchange> mExchanges; // that are over
    std::unique_ptr<httpd::Server> mServer;
    std::vector<httpd::Request> mRequests;
    std::vector<httpd::Reply> mReplies;
    httpd::Response mAnswer{200, {{"Content-Type", "text/plain"}, {"X-Kind", "test"}}, "hello"};
    bool mAnswersLater = false;
};

#endif
