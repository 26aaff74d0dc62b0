! A Fortran program on an installed KOVRA: DAXPY and DDOT through their Fortran names. Stops with a
! non-zero exit status on a wrong result; the values are small integers, so the results are exact.
program consumer
  implicit none
  double precision, external :: ddot
  double precision :: x(4) = [1d0, 2d0, 3d0, 4d0], y(4) = [4d0, 3d0, 2d0, 1d0]

  ! y := 2*x + y = (6, 7, 8, 9), and x . y = 6 + 14 + 24 + 36.
  call daxpy(4, 2d0, x, 1, y, 1)
  if (any(y /= [6d0, 7d0, 8d0, 9d0])) error stop 'daxpy: wrong result'
  if (ddot(4, x, 1, y, 1) /= 80d0) error stop 'ddot: wrong result'
  print '(a)', 'daxpy, ddot: 0 wrong'
end program consumer
