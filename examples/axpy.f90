! A plain Fortran program on libKOVRA: y := alpha*x + y on a million elements through saxpy and daxpy,
! with no set-up call. Stops with a non-zero exit status on a wrong result.
!
! The values are small integers, so every result is exact and is compared with ==.
program axpy_example
  implicit none
  integer, parameter :: n = 1000000
  real, allocatable :: x(:), y(:)
  double precision, allocatable :: dx(:), dy(:)
  integer :: i, wrong_s, wrong_d

  ! x(i) = i, y(i) = n - i: 3*x + y is 2*i + n.
  allocate(x(n), y(n))
  do i = 1, n
    x(i) = real(i)
    y(i) = real(n - i)
  end do
  call saxpy(n, 3.0, x, 1, y, 1)
  wrong_s = 0
  do i = 1, n
    if (y(i) /= real(2 * i + n)) wrong_s = wrong_s + 1
  end do
  print '(a, i0, a, i0, a)', 'saxpy: ', wrong_s, ' of ', n, ' elements wrong'
  deallocate(x, y)

  ! Every second element of dy, from the end of dx backwards (negative increment):
  ! dy(2k-1) += -1 * dx(n/2 + 1 - k); the even elements of dy stay as they were.
  allocate(dx(n / 2), dy(n))
  do i = 1, n / 2
    dx(i) = dble(i)
  end do
  do i = 1, n
    dy(i) = dble(n)
  end do
  call daxpy(n / 2, -1d0, dx, -1, dy, 2)
  wrong_d = 0
  do i = 1, n
    if (mod(i, 2) == 1) then
      if (dy(i) /= dble(n - (n / 2 + 1 - (i + 1) / 2))) wrong_d = wrong_d + 1
    else
      if (dy(i) /= dble(n)) wrong_d = wrong_d + 1
    end if
  end do
  print '(a, i0, a, i0, a)', 'daxpy: ', wrong_d, ' of ', n, ' elements wrong'
  deallocate(dx, dy)

  if (wrong_s /= 0 .or. wrong_d /= 0) error stop 1
end program axpy_example
