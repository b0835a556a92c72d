// What the window asks of the application around it: a place to register its editor when it
// appears, so that the application can autosave that editor when it quits. The application
// (AppDelegate) implements it; the window only sees this interface. Main thread only.
#pragma once

class VideoEditorViewModel;

class EditorHolder {
public:
    virtual void setViewModel(VideoEditorViewModel* viewModel) = 0;

protected:
    ~EditorHolder() = default;
};
