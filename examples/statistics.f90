! Statistics of ten points: a first call from Fortran. It prints the lines of statistics.c.
program first_call
   use, intrinsic :: iso_fortran_env, only: error_unit
   use qmx_ic
   implicit none
   character(*), parameter :: names(15) = [character(26) :: 'mean', 'variance', &
      'standard deviation', 'skewness', 'excess kurtosis', 'minimum', 'maximum', 'range', &
      'coefficient of variation', 'values', 'mean, lower limit', 'mean, upper limit', &
      'variance, lower limit', 'variance, upper limit', 'unused']
   integer :: i

   call check_records()
   print '(a, 8(1x, i0))', 'records', record_sizes()
   block
      ! [first call]
      real(c_double), parameter :: values(10) = &
         [61.5d0, 72.0d0, 70.5d0, 66.0d0, 81.0d0, 75.5d0, 58.0d0, 69.5d0, 77.0d0, 64.5d0]
      type(t_icdata) :: points(10)
      type(t_statsout) :: statistics
      type(t_event) :: event

      points%d_x = [(0.3d0*i, i=0, 9)]
      points%d_val = values
      points%i_passno = 4
      statistics%i_flag_target = qmx_ic_yes
      statistics%x_target = 70     ! unit of the measure
      statistics%x_target_pct = 60 ! share of the points that must reach it
      statistics%x_pctlevel = [10, 90]
      if (ICdata_stats(qmx_ic_no, qmx_ic_no, 10, points, statistics, event) &
          /= qmx_ic_success) then
         write (error_unit, '(a)') text_of(event%c_description)
         stop 1
      end if
      call print_number('mean', statistics%x_stat(1))
      ! [first call]
      do i = 2, 15
         call print_number(names(i), statistics%x_stat(i))
      end do
      call print_number('value at 10 %', statistics%x_pctvalue(1))
      call print_number('value at 90 %', statistics%x_pctvalue(2))
      call print_number('above 70, percent', statistics%x_achieved_pct)
      print '(2a)', 'target ', trim(merge('met   ', 'missed', &
                                          statistics%i_target_met == qmx_ic_yes))

      ! Two points are too few: the event says so.
      if (ICdata_stats(qmx_ic_no, qmx_ic_no, 2, points, statistics, event) &
          /= qmx_ic_failure) error stop
      print '(2a)', 'two points: ', text_of(event%c_description)
      print '(2a)', 'failed in: ', text_of(event%c_subfunc)
      print '(a, i0, a, i0)', 'code ', event%i_errcode, ', class ', event%i_errclass
   end block

contains

   subroutine print_number(name, number)
      character(*), intent(in) :: name
      real(c_float), intent(in) :: number
      character(26) :: padded
      padded = name
      print '(a26, f14.4)', padded, real(number, c_double)
   end subroutine
end program
