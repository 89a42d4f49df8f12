// Renders the mark's PNGs for the hicolor icon theme at build time:
//   kvillo_render_icons <icons folder>
// writes <folder>/hicolor/<n>x<n>/apps/io.kvillo.Kvillo.png (black, for
// light panels) and io.kvillo.Kvillo-on-dark.png (white) for every size a
// panel asks for. Paints on images only, so it needs no display.
#include <QDir>
#include <QString>

#include <cstdio>

#include "app/gui/mark.h"

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: kvillo_render_icons <icons folder>\n");
        return 2;
    }
    const QString root = QString::fromLocal8Bit(argv[1]);
    for (int size : {16, 22, 24, 32, 48}) {
        const QString folder = QStringLiteral("%1/hicolor/%2x%2/apps").arg(root).arg(size);
        if (!QDir().mkpath(folder)) {
            std::fprintf(stderr, "kvillo_render_icons: cannot create %s\n", qPrintable(folder));
            return 1;
        }
        const struct {
            const char* name;
            QColor colour;
        } forms[] = {{"io.kvillo.Kvillo", Qt::black}, {"io.kvillo.Kvillo-on-dark", Qt::white}};
        for (const auto& form : forms) {
            const QString file = QStringLiteral("%1/%2.png").arg(folder, form.name);
            if (!kvillo::mark::image(size, form.colour).save(file, "PNG")) {
                std::fprintf(stderr, "kvillo_render_icons: cannot write %s\n", qPrintable(file));
                return 1;
            }
        }
    }
    return 0;
}
