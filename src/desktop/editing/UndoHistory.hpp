#pragma once

#include "core/model/Workspace.hpp"
#include "core/support/Date.hpp"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace tessaline {

// One state to go back (or forward) to, named for the undo and redo menus.
struct UndoStep {
    Workspace workspace;
    std::string label;
};

// The undo and redo stacks with the rule that merges rapid edits of one thing into one
// step: an edit with the same coalescing key as the previous one, less than two seconds
// after it, records nothing new.
class UndoHistory {
public:
    static constexpr std::size_t undoLimit = 100;
    static constexpr std::chrono::seconds coalescingWindow{2};

    // Whether an edit with this key at `now` merges into the previous step. A merge refreshes
    // the window, so that steady typing stays one step.
    bool coalesces(const std::optional<std::string>& key, Date now);

    // Records the state before an edit, dropping the oldest beyond the limit, and clears the
    // redo stack. `key` starts (or, when absent, ends) a coalescing run.
    void push(UndoStep step, const std::optional<std::string>& key, Date now);

    // Takes the newest undo step, leaving `current` under the same label on the redo stack.
    std::optional<Workspace> undo(Workspace current);
    std::optional<Workspace> redo(Workspace current);

    bool canUndo() const { return !undoStack.empty(); }
    bool canRedo() const { return !redoStack.empty(); }
    std::optional<std::string> undoLabel() const;
    std::optional<std::string> redoLabel() const;

private:
    struct Coalescing {
        std::string key;
        Date at;
    };

    static std::optional<Workspace> move(std::vector<UndoStep>& from, std::vector<UndoStep>& to, Workspace current);

    std::vector<UndoStep> undoStack;  // oldest first
    std::vector<UndoStep> redoStack;
    std::optional<Coalescing> coalescing;
};

}  // namespace tessaline
