# The carried firmware image as a block of bytes between two symbols, which platform/os looks up.
    .section .rodata
    .balign 16
    .globl k274_fw_img
    .hidden k274_fw_img
    .type k274_fw_img, %object
k274_fw_img:
    .incbin "firmware_image.bin"
    .globl k274_fw_img_end
    .hidden k274_fw_img_end
k274_fw_img_end:
    .size k274_fw_img, k274_fw_img_end - k274_fw_img

    .section .note.GNU-stack, "", %progbits
