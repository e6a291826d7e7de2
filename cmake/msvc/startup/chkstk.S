# __chkstk: called by a function that reserves more than a page of stack, with
# the size in %rax, before it moves %rsp. Touches every page from the current
# top of the stack down to the new one in order, so that Windows' guard page
# grows the stack one page at a time. Changes no register.
        .text
        .globl  __chkstk
__chkstk:
        pushq   %rcx
        pushq   %rax
        leaq    24(%rsp), %rcx          # the caller's %rsp
1:      cmpq    $0x1000, %rax
        jb      2f
        subq    $0x1000, %rcx
        testq   %rcx, (%rcx)            # touch the next page down
        subq    $0x1000, %rax
        jmp     1b
2:      subq    %rax, %rcx
        testq   %rcx, (%rcx)            # and the last, partial one
        popq    %rax
        popq    %rcx
        ret
