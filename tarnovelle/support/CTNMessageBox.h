// Every user-visible question or error of the library goes through here.
//
// A message box can be rerouted into log arrays: code that must not stop for
// a dialog pushes its own array with RerouteMessageBoxToLogArray(&array) and
// pops it with RerouteMessageBoxToLogArray(nullptr) afterwards. Reroutes nest;
// the innermost (the tail of s_ListOfLogArray) receives the texts. Every push
// needs its pop. A reroute affects every thread's Show, so a text that another
// thread shows meanwhile lands in the pushed array too. The list and the
// append into its top array are guarded by one lock, so a working thread may
// show while the caller's thread pushes or pops; the array itself is the
// pusher's to read once it has popped it. Pushes and pops must nest across
// all threads: a pop removes the top, whoever pushed it.
//
// Without a reroute, Show hands the text to the presenter that a UI library
// registers with SetPresenter (a real message box) and returns its answer.
// With no presenter the text goes to standard error and the answer is 1 (OK).
#pragma once

#include <cstdint>
#include <list>
#include <string>
#include <vector>

#include "tarnovelle/support/CException.h"
#include "tarnovelle/support/TNExport.h"

class TNVL_EXPORT CTNMessageBox {
public:
    // Shows a text and gives the box's answer. An answer of a plain box is
    // 1 (OK). Under a reroute the text is appended to the top array and the
    // answer is 1.
    using Presenter = int32_t (*)(const std::string& text);

    CTNMessageBox() = delete;

    // Rerouted: appends `text` to the top array and returns 1. Otherwise
    // shows a plain message box and returns what it returns.
    static int32_t Show(const std::string& text);

    // Asks the exception for its text, at most 255 characters, and shows that
    // as the text form does.
    static void Show(CException& e);

    // True while any reroute is in force.
    static bool IsRerouteMessageBoxToLogArray();

    // A non-null `log` is pushed and receives every text from now on; null
    // pops the top. A pop with nothing pushed does nothing.
    static void RerouteMessageBoxToLogArray(std::vector<std::string>* log);

    // Registers the function that shows a real message box (null: none);
    // returns the one registered before.
    static Presenter SetPresenter(Presenter presenter);

private:
    // The reroute stack; its top is the tail. Reached only under the lock of
    // CTNMessageBox.cpp.
    static std::list<std::vector<std::string>*> s_ListOfLogArray;
};
