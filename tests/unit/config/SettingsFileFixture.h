#ifndef ZEPH_TESTS_SETTINGSFILEFIXTURE_H
#define ZEPH_TESTS_SETTINGSFILEFIXTURE_H

#include <gtest/gtest.h>
#include <stdlib.h>

#include <string>

#include "../files/TemporaryTree.h"
#include "ConfigRig.h"

// The settings library on a settings file of the test's own, named by the environment.
class SettingsFileFixture : public testing::Test {
protected:
    SettingsFileFixture() { Name(tree.Path("zeph.conf")); }
    ~SettingsFileFixture() override { unsetenv("ZpCONFIG_FILE"); }

    static void Name(const std::string& path) { setenv("ZpCONFIG_FILE", path.c_str(), 1); }
    bool Load(ConfigRig& rig, const std::string& settings) const
    {
        tree.Write("zeph.conf", settings);
        return rig.Load(ZEPH_ConfigLibrary);
    }
    // The error of a file that must be refused, without the path before it.
    std::string ErrorOf(const std::string& settings) const
    {
        ConfigRig rig;
        if (Load(rig, settings))
            return "(accepted)";
        return WithoutPath(rig.Error());
    }
    std::string WithoutPath(const std::string& error) const
    {
        const std::string path = tree.Path("zeph.conf:");
        return error.compare(0, path.size(), path) == 0 ? error.substr(path.size()) : error;
    }

    TemporaryTree tree;
};

#endif
