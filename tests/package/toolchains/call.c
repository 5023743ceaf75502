/* Ends with 42 when the three functions of wpk.dll have answered. */
#include <wpk/wpk.h>

int main(void) {
    return WPK_Init(0) == 0 && WPK_Send(0) == 0 && WPK_Cancel(0) == 0 ? 42 : 1;
}
