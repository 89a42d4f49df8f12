#include <gtest/gtest.h>

#include "app/gui/popup_placement.h"

namespace kvillo {
namespace {

// A 1920 x 1080 screen; the popup is 320 x 400.
TEST(PopupPlacement, OpensFromThePointerTowardsTheMiddleAndStaysInTheFreeArea) {
    const QSize popup(320, 400);
    const QRect topPanel(0, 28, 1920, 1052), bottomPanel(0, 0, 1920, 1040);
    const QRect leftPanel(48, 0, 1872, 1080), whole(0, 0, 1920, 1080);
    struct Row {
        const char* name;
        QPoint click;
        QRect available;
        QPoint topLeft;
    };
    const Row rows[] = {
        {"top panel, right end: below and to the left", {1900, 12}, topPanel, {1580, 28}},
        {"top panel, left end: below and to the right", {10, 12}, topPanel, {10, 28}},
        {"bottom panel, right end: above", {1890, 1060}, bottomPanel, {1570, 640}},
        {"bottom panel, pointer on the panel's edge pixel", {1919, 1079}, bottomPanel, {1599, 640}},
        {"left side panel: beside it", {20, 900}, leftPanel, {48, 500}},
        {"a panel that reserves no space", {1900, 5}, whole, {1580, 5}},
        {"a second screen to the right", {2000, 10}, QRect(1920, 30, 1280, 994), {2000, 30}},
        {"a screen smaller than the popup", {300, 5}, QRect(0, 24, 300, 200), {0, 24}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(popupPosition(row.click, popup, row.available), row.topLeft);
    }
}

}  // namespace
}  // namespace kvillo
