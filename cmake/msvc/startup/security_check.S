# __security_check_cookie: called with the cookie a function kept on its stack
# in %rcx, before it returns (its result may already be in %rax); returns
# unless the value differs from __security_cookie. Changes no register.
        .text
        .globl  __security_check_cookie
__security_check_cookie:
        cmpq    __security_cookie(%rip), %rcx
        jne     1f
        ret
1:      subq    $40, %rsp               # shadow space, stack aligned
        call    selvora_report_gs_failure
        int3
