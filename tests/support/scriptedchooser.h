#pragma once
// Answers the save dialog from a queue (an empty queue is Cancel) and the replace question with
// one fixed answer, keeping what was asked.

#include "shell/commondialogs.h"

#include <deque>
#include <vector>

namespace velmara {

class ScriptedChooser : public FileChooser
{
public:
    std::deque<Choice> answers;
    std::vector<Request> requests;
    std::vector<QString> replaceAsked;
    bool replace = true;

    std::optional<Choice> chooseSaveName(QWidget *, const Request &request) override
    {
        requests.push_back(request);
        if (answers.empty())
            return std::nullopt;
        Choice c = answers.front();
        answers.pop_front();
        return c;
    }
    bool confirmReplace(QWidget *, const QString &, const QString &path) override
    {
        replaceAsked.push_back(path);
        return replace;
    }
};

} // namespace velmara
