#pragma once
// Answers the template manager's boxes from scripts and keeps what they asked and said.

#include "templates/templatemanager.h"

#include <deque>
#include <string>
#include <vector>

namespace velmara {

struct ScriptedTemplateHost : TemplateManagerHost
{
    std::deque<std::string> texts; // names typed, in turn; none left is Cancel
    std::deque<bool> answers;      // yes/no answers, in turn; none left answers yes
    bool yes = true;
    std::vector<std::string> messages, questions, prompts;
    std::vector<std::string> defaults; // the default text of each input box

    void showMessage(const std::string &text) override { messages.push_back(text); }
    bool askYesNo(const std::string &text) override
    {
        questions.push_back(text);
        return answers.empty() ? yes : take(answers);
    }
    std::string askText(const std::string &prompt, const std::string &defaultText) override
    {
        prompts.push_back(prompt);
        defaults.push_back(defaultText);
        return texts.empty() ? std::string() : take(texts);
    }

private:
    template <typename T>
    static T take(std::deque<T> &queue)
    {
        T front = queue.front();
        queue.pop_front();
        return front;
    }
};

} // namespace velmara
