#include "dom/Message.h"

#include "devhost/platform/BriefSpin.h"
#include "devhost/platform/MessageContent.h"
#include "dom/Exceptions.h"

namespace dom {

Message::Message() : content_(new Content) {}

Message::~Message() { delete content_; }

short Message::GetMethodTable() const { return content_->table; }

short Message::GetTag() const { return content_->tag; }

bool Message::NeedsReply() const { return content_->needsReply; }

std::size_t Message::GetValueCount() const { return content_->values.size(); }

void PrepMessageForReturnBadTag(const MessagePtr& message) {
    if (message) message->GetContent().badTag = true;
}

void PrepMessageForReturnBadTable(const MessagePtr& message) {
    if (message) message->GetContent().badTable = true;
}

bool Message::Content::BeginRequest() {
    std::lock_guard<std::mutex> hold(mutex_);
    if (outcome_ == Outcome::Pending) return false;
    outcome_ = Outcome::Pending;
    pending_.store(true, std::memory_order_relaxed);
    failure_.clear();
    replyWritten = badTag = badTable = false;
    return true;
}

void Message::Content::Settle(Outcome outcome, std::string failure) {
    {
        std::lock_guard<std::mutex> hold(mutex_);
        if (outcome_ != Outcome::Pending) return;  // every request ends once
        outcome_ = outcome;
        failure_ = std::move(failure);
        pending_.store(false, std::memory_order_release);
    }
    settled_.notify_all();
}

Message::Content::Outcome Message::Content::ServedOutcome() const {
    if (badTable) return Outcome::BadTable;
    if (badTag) return Outcome::BadTag;
    return replyWritten ? Outcome::Replied : Outcome::NoReply;
}

void Message::Content::Await() {
    Outcome outcome;
    std::string failure;
    devhost::SpinBriefly([this] { return !pending_.load(std::memory_order_acquire); });
    {
        std::unique_lock<std::mutex> hold(mutex_);
        settled_.wait(hold, [this] { return outcome_ != Outcome::Pending; });
        outcome = outcome_;
        failure = failure_;
    }
    // Written only for a failure: a served request costs no text.
    const auto where = [this] { return " (table " + std::to_string(table) + ", tag " + std::to_string(tag) + ")"; };
    switch (outcome) {
    case Outcome::Idle:
    case Outcome::Pending:
    case Outcome::Replied:
        return;
    case Outcome::BadTag:
        throw MessageProtocolException("The receiver did not understand the tag of the message" + where());
    case Outcome::BadTable:
        throw MessageProtocolException("The receiver did not understand the method table of the message" + where());
    case Outcome::NoReply:
        throw MessageProtocolException("The receiver did not reply to the message" + where());
    case Outcome::ActorShutdown:
        throw ActorShutdownException(failure + where());
    case Outcome::InvalidActor:
        throw InvalidActorException(failure + where());
    }
}

}  // namespace dom
