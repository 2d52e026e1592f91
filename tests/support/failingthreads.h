#pragma once

/// Makes the next pthread_create() of a program that links failingthreads.cpp fail, in whatever library.
class FailingThreads
{
public:
    static void refuseNext();

    /// Returns whether the refusal that refuseNext() asked for has happened.
    static bool hasRefused();
};
