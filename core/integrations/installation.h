#pragma once

#include <string>
#include <string_view>

namespace kvillo {

// How the running Kvillo was installed, which decides the kind of package an
// update is.
struct Installation {
    enum class Kind { debianPackage, appImage, tarball };

    Kind kind = Kind::tarball;
    // The AppImage file the program runs from ($APPIMAGE); empty otherwise.
    std::string appImage;

    // The ending of a release asset of this kind: ".deb", ".AppImage",
    // ".tar.gz".
    std::string_view packageSuffix() const;

    // An AppImage when `appImageVariable` ($APPIMAGE) names a file by an
    // absolute path (the runtime mounts the image elsewhere on every run, so
    // the executable's path says nothing); a Debian package when dpkg's file
    // list of `package` ("kvillo.list", or "kvillo:<arch>.list", in
    // `dpkgInfoFolder`) names `executable`; else an unpacked tarball.
    static Installation detect(const std::string& executable, const char* appImageVariable,
                               const std::string& dpkgInfoFolder = "/var/lib/dpkg/info",
                               std::string_view package = "kvillo");

    // detect() for this process: /proc/self/exe and $APPIMAGE.
    static Installation ofThisProcess();

    // The AppImage this process runs from: $APPIMAGE, believed only while
    // this executable lies inside the image's mount ($APPDIR), since a
    // program started from another AppImage inherits that one's variables.
    static const char* appImageOfThisProcess();

    bool operator==(const Installation&) const = default;
};

}  // namespace kvillo
