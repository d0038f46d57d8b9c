#include "desktop/editing/UndoHistory.hpp"

namespace tessaline {

bool UndoHistory::coalesces(const std::optional<std::string>& key, Date now) {
    if (!key || !coalescing || coalescing->key != *key || now - coalescing->at >= coalescingWindow) return false;
    coalescing->at = now;
    return true;
}

void UndoHistory::push(UndoStep step, const std::optional<std::string>& key, Date now) {
    undoStack.push_back(std::move(step));
    if (undoStack.size() > undoLimit) undoStack.erase(undoStack.begin(), undoStack.end() - undoLimit);
    redoStack.clear();
    coalescing = key ? std::optional<Coalescing>({*key, now}) : std::nullopt;
}

std::optional<Workspace> UndoHistory::move(std::vector<UndoStep>& from, std::vector<UndoStep>& to, Workspace current) {
    if (from.empty()) return std::nullopt;
    UndoStep step = std::move(from.back());
    from.pop_back();
    to.push_back({std::move(current), step.label});
    return std::move(step.workspace);
}

std::optional<Workspace> UndoHistory::undo(Workspace current) {
    coalescing.reset();
    return move(undoStack, redoStack, std::move(current));
}

std::optional<Workspace> UndoHistory::redo(Workspace current) {
    coalescing.reset();
    return move(redoStack, undoStack, std::move(current));
}

std::optional<std::string> UndoHistory::undoLabel() const {
    return undoStack.empty() ? std::nullopt : std::optional(undoStack.back().label);
}

std::optional<std::string> UndoHistory::redoLabel() const {
    return redoStack.empty() ? std::nullopt : std::optional(redoStack.back().label);
}

}  // namespace tessaline
