#include "call_fake.h"

namespace mktest {

std::vector<int64_t> RecordedCall::values() const {
    std::vector<int64_t> out;
    for (const RecordedArg& a : args) out.push_back(static_cast<int64_t>(a.value));
    return out;
}

void CallLog::add(RecordedCall call) {
    std::lock_guard<std::mutex> lock(mutex_);
    calls_.push_back(std::move(call));
}

std::vector<RecordedCall> CallLog::calls() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return calls_;
}

std::vector<RecordedCall> CallLog::calls(const std::string& name) const {
    std::lock_guard<std::mutex> lock(mutex_);
    std::vector<RecordedCall> out;
    for (const RecordedCall& c : calls_)
        if (c.name == name) out.push_back(c);
    return out;
}

size_t CallLog::count(const std::string& name) const { return calls(name).size(); }

std::string CallLog::names() const {
    std::lock_guard<std::mutex> lock(mutex_);
    std::string out;
    for (const RecordedCall& c : calls_) out += (out.empty() ? "" : " ") + c.name;
    return out;
}

void CallLog::clear() {
    std::lock_guard<std::mutex> lock(mutex_);
    calls_.clear();
}

}  // namespace mktest
