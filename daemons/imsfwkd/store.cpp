#include "daemons/imsfwkd/store.h"

#include "baseuafw/baseuafw.h"
#include "daemons/imsfwkd/document_diff.h"

#include <algorithm>
#include <set>
#include <utility>

namespace imsfwkd {

namespace {

// Requests come from anywhere on the device: what they are refused for is worth a trace, not an alarm.
bool refuse(const char* request, const std::string& document, const std::string& xpath,
            const std::string& why)
{
    IMS_log::loginfo(5, "store", "%s %.64s %.200s refused: %s", request, document.c_str(), xpath.c_str(),
                     why.c_str());
    return false;
}

} // namespace

bool Store::open(std::string& why)
{
    if (!dir_.open(why)) return false;
    for (std::string& name : dir_.documents())
        to_load_.push_back(std::move(name));
    return true;
}

bool Store::load_next()
{
    if (!to_load_.empty()) {
        load_if_waiting(std::string(to_load_.front()));
        to_load_.pop_front();
    }
    if (to_load_.empty() && !loaded_) {
        loaded_ = true;
        IMS_log::loginfo(5, "store", "%d documents loaded from %s", static_cast<int>(entries_.size()),
                         dir_.path().c_str());
    }
    return !loaded_;
}

void Store::load_if_waiting(const std::string& name)
{
    const bool waits = std::find(to_load_.begin(), to_load_.end(), name) != to_load_.end();
    if (waits && entries_.count(name) == 0) load(name, Announce::no);
}

void Store::load(const std::string& name, Announce announce)
{
    if (entries_.count(name) == 0 && entries_.size() >= MAX_DOCUMENTS) {
        IMS_log::loginfo(4, "store", "%s.xml ignored: more than %d documents", name.c_str(),
                         static_cast<int>(MAX_DOCUMENTS));
        return;
    }
    Entry& entry = entries_[name];
    std::string text;
    std::string why;
    const bool readable = dir_.read(name, MAX_DOCUMENT, text, entry.stamp, why);
    std::unique_ptr<Document> fresh = readable ? Document::parse(text, why) : nullptr;
    entry.broken = fresh == nullptr;
    if (entry.broken) {
        IMS_log::loginfo(4, "store", "document %s cannot be used: %s", name.c_str(), why.c_str());
        return;
    }
    if (announce == Announce::yes)
        note(name, entry.document ? changed_paths(*entry.document, *fresh) : everything());
    entry.document = std::move(fresh);
}

void Store::forget(const std::string& name)
{
    const auto found = entries_.find(name);
    if (found == entries_.end()) return;
    if (found->second.document) note(name, everything());
    entries_.erase(found);
    IMS_log::loginfo(5, "store", "document %s is gone", name.c_str());
}

void Store::note(const std::string& name, std::vector<std::string> paths)
{
    if (!paths.empty()) changes_.push_back({name, std::move(paths)});
}

void Store::reload(const std::string& name)
{
    if (dir_.stamp(name).size < 0)
        forget(name);
    else
        load(name, Announce::yes);
}

void Store::refresh(const std::string& name)
{
    const auto known = entries_.find(name);
    if (known == entries_.end() || known->second.stamp != dir_.stamp(name)) reload(name);
}

void Store::reload_all()
{
    std::set<std::string> names;
    for (const auto& entry : entries_)
        names.insert(entry.first);
    for (const std::string& name : dir_.documents())
        names.insert(name);
    for (const std::string& name : names)
        reload(name);
}

bool Store::get(const std::string& document, const std::string& xpath, std::string& value)
{
    load_if_waiting(document);
    const auto found = entries_.find(document);
    return found != entries_.end() && found->second.document && found->second.document->get(xpath, value);
}

bool Store::set(const std::string& document, const std::string& xpath, const std::string& value)
{
    if (!is_document_name(document)) return refuse("SET", document, xpath, "no document's name");
    load_if_waiting(document);
    refresh(document); // an edit whose notice is still on its way must not be overwritten
    const auto found = entries_.find(document);
    if (found == entries_.end() || !found->second.document)
        return refuse("SET", document, xpath, "no such document");
    Entry& entry = found->second;
    if (entry.broken) return refuse("SET", document, xpath, "its file is broken");
    std::string why;
    std::string current;
    if (entry.document->get(xpath, current) && current == value) return true;
    const std::string text = entry.document->with(xpath, value, why);
    if (text.empty()) return refuse("SET", document, xpath, why);
    const bool stored = dir_.replace(document, text, why);
    if (!stored) IMS_log::loginfo(4, "store", "document %s not stored: %s", document.c_str(), why.c_str());
    refresh(document); // memory follows the file, whatever became of it
    return stored;
}

std::vector<Change> Store::take_changes()
{
    return std::exchange(changes_, {});
}

} // namespace imsfwkd
