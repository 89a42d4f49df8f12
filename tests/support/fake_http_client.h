#pragma once

#include <fstream>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "core/net/http_client.h"

namespace kvillo::testing {

// Answers from a table the test fills; an address not in it cannot be
// reached. Called from any thread.
class FakeHttpClient : public HttpClient {
public:
    // A download writes the reply's body to its file and reports progress
    // at half and at the end, with the total when a content-length is given.
    void answer(const std::string& url, HttpReply reply) {
        std::lock_guard lock(mutex_);
        answers_[url] = std::move(reply);
    }
    void fail(const std::string& url, TransferFailure kind) {
        std::lock_guard lock(mutex_);
        answers_[url] = TransferError{kind, "fake failure"};
    }
    // Until release(), every call waits, reporting no progress, until its
    // progress callback cancels it.
    void hold() { held_ = true; }
    void release() { held_ = false; }

    std::vector<std::string> requests() const {
        std::lock_guard lock(mutex_);
        return requests_;
    }
    std::thread::id lastCaller() const {
        std::lock_guard lock(mutex_);
        return lastCaller_;
    }

    HttpOutcome get(const std::string& url, const HttpHeaders&,
                    const TransferProgress& progress) override {
        return respond(url, progress, nullptr);
    }
    HttpOutcome download(const std::string& url, const HttpHeaders&, const std::string& file,
                         const TransferProgress& progress) override {
        return respond(url, progress, &file);
    }

private:
    HttpOutcome respond(const std::string& url, const TransferProgress& progress,
                        const std::string* file) {
        HttpOutcome outcome = TransferError{TransferFailure::connect, "no such host"};
        {
            std::lock_guard lock(mutex_);
            requests_.push_back(url);
            lastCaller_ = std::this_thread::get_id();
            if (auto found = answers_.find(url); found != answers_.end()) {
                outcome = found->second;
            }
        }
        while (held_) {
            if (progress && !progress(0, 0)) {
                return TransferError{TransferFailure::cancelled, "cancelled"};
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        auto* reply = std::get_if<HttpReply>(&outcome);
        if (!reply || !file) {
            return outcome;
        }
        std::uint64_t size = reply->body.size();
        std::uint64_t total = reply->header("content-length") ? size : 0;
        std::ofstream(*file, std::ios::binary) << reply->body;
        if (progress && !(progress(size / 2, total) && progress(size, total))) {
            return TransferError{TransferFailure::cancelled, "cancelled"};
        }
        reply->body.clear();
        return outcome;
    }

    mutable std::mutex mutex_;
    std::map<std::string, HttpOutcome> answers_;
    std::vector<std::string> requests_;
    std::thread::id lastCaller_;
    std::atomic<bool> held_ = false;
};

}  // namespace kvillo::testing
