// Layout: the positions of the controls in a window of a given size and resolution. Arithmetic only.
// SPDX-License-Identifier: MIT
#include "layout.h"

#include <algorithm>

namespace desktop {
namespace {

// Design lengths, in pixels at 96 dots per inch; the system's dialogs use the same distances.
constexpr int kMargin = 11;
constexpr int kGap = 7;
constexpr int kLineGap = 5;
constexpr int kLabelWidth = 56;
constexpr int kPortLabelWidth = 32;
constexpr int kPortWidth = 60;
constexpr int kButtonWidth = 84;
constexpr int kProgressHeight = 15;
// How much higher a field and a button are than their text.
constexpr int kFieldFrame = 8;
constexpr int kButtonFrame = 10;
// The message takes a third of the height left by the lines of fixed height, the reply the rest.
constexpr int kMessageShare = 3;
constexpr int kSmallestMessage = 40;

/// Divides the window into lines, from top to bottom.
class Column {
public:
    Column(int width, int dpi) : dpi_(dpi), left_(Px(kMargin)), right_(width - Px(kMargin)), y_(Px(kMargin)) {}

    int Px(int length) const { return Scaled(length, dpi_); }
    int Left() const { return left_; }
    int Right() const { return right_; }
    int Y() const { return y_; }
    void Skip(int pixels) { y_ += pixels; }

    Rectangle Whole(int height) const { return {left_, y_, right_ - left_, height}; }
    /// From x to x_end, centred in a line of this height.
    Rectangle Centred(int x, int x_end, int height, int line_height) const {
        return {x, y_ + (line_height - height) / 2, std::max(0, x_end - x), height};
    }

private:
    int dpi_;
    int left_;
    int right_;
    int y_;
};

}  // namespace

int Scaled(int length, int dpi) {
    return (length * dpi + 48) / 96;
}

Size SmallestInside(int dpi) {
    return {Scaled(380, dpi), Scaled(330, dpi)};
}

Size UsualInside(int dpi) {
    return {Scaled(520, dpi), Scaled(440, dpi)};
}

Layout LayOut(Size inside, int dpi, int text_height) {
    Column column(inside.width, dpi);
    const int line = text_height + column.Px(kFieldFrame);
    const int label = text_height;
    const int gap = column.Px(kGap);
    const int fields_x = column.Left() + column.Px(kLabelWidth) + gap;
    const int port_x = column.Right() - column.Px(kPortWidth);
    const int port_label_x = port_x - gap - column.Px(kPortLabelWidth);

    const Rectangle server_label = column.Centred(column.Left(), fields_x - gap, label, line);
    const Rectangle server = column.Centred(fields_x, port_label_x - gap, line, line);
    const Rectangle port_label = column.Centred(port_label_x, port_x - gap, label, line);
    const Rectangle port = column.Centred(port_x, column.Right(), line, line);
    column.Skip(line + gap);

    const Rectangle service_label = column.Centred(column.Left(), fields_x - gap, label, line);
    const Rectangle service = column.Centred(fields_x, column.Right(), line, line);
    column.Skip(line + gap);

    const Rectangle message_label = column.Whole(label);
    column.Skip(label + column.Px(kLineGap));

    const int button_height = text_height + column.Px(kButtonFrame);
    const int below_message = gap + button_height + gap + label + column.Px(kLineGap) + column.Px(kMargin);
    const int free_height = std::max(0, inside.height - column.Y() - below_message);
    const Rectangle message = column.Whole(std::max(column.Px(kSmallestMessage), free_height / kMessageShare));
    column.Skip(message.height + gap);

    const int cancel_x = column.Right() - column.Px(kButtonWidth);
    const int send_x = cancel_x - gap - column.Px(kButtonWidth);
    const Rectangle progress =
        column.Centred(column.Left(), send_x - column.Px(kMargin), column.Px(kProgressHeight), button_height);
    const Rectangle send = column.Centred(send_x, cancel_x - gap, button_height, button_height);
    const Rectangle cancel = column.Centred(cancel_x, column.Right(), button_height, button_height);
    column.Skip(button_height + gap);

    const Rectangle reply_label = column.Whole(label);
    column.Skip(label + column.Px(kLineGap));
    const Rectangle reply = column.Whole(std::max(0, inside.height - column.Px(kMargin) - column.Y()));

    return {{
        {kServerLabel, server_label},
        {kServer, server},
        {kPortLabel, port_label},
        {kPort, port},
        {kServiceLabel, service_label},
        {kService, service},
        {kMessageLabel, message_label},
        {kMessage, message},
        {kProgress, progress},
        {kSend, send},
        {kCancel, cancel},
        {kReplyLabel, reply_label},
        {kReplyText, reply},
        {kReplyTree, reply},
    }};
}

}  // namespace desktop
