#pragma once

#include <QCoreApplication>
#include <QTemporaryDir>

/// Points everything that a program keeps for its user (home, settings, data, caches) into a
/// temporary folder. Must stand before the application object, which may read settings.
class IsolatedHome
{
public:
    IsolatedHome();

    [[nodiscard]] QString path() const { return m_folder.path(); }

private:
    QTemporaryDir m_folder;
};

/// main() of a test program without windows.
#define VORNAK_TEST_MAIN(TestClass)                                                                \
    int main(int argc, char* argv[])                                                               \
    {                                                                                              \
        const IsolatedHome home;                                                                   \
        const QCoreApplication application(argc, argv);                                            \
        TestClass test;                                                                            \
        return QTest::qExec(&test, argc, argv);                                                    \
    }

/// main() of a test program with windows.
#define VORNAK_WIDGET_TEST_MAIN(TestClass)                                                         \
    int main(int argc, char* argv[])                                                               \
    {                                                                                              \
        const IsolatedHome home;                                                                   \
        const QApplication application(argc, argv);                                                \
        TestClass test;                                                                            \
        return QTest::qExec(&test, argc, argv);                                                    \
    }
